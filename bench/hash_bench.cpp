// The digest of a file of 1 GiB that is in the system's cache, against the same bytes in memory and
// against the tools that people use.
#include <fstream>

#include "bench/measure.h"
#include "kit/files/QVFileManager.h"
#include "platform/Services.h"
#include "platform/linux/run_loop.h"
#include "platform/linux/services.h"

namespace quorvane::bench {
namespace {

constexpr std::size_t kSize = std::size_t{1} << 31U;

std::string content() {
    std::string bytes(kSize, '\0');
    std::uint64_t state = 1;
    for (std::size_t i = 0; i < kSize; i += 4096) {
        state = state * 6364136223846793005U + 1442695040888963407U;
        bytes[i] = static_cast<char>(state >> 56U);
    }
    return bytes;
}

using HashForFile = MaybeText (*)(const MaybePath&, const std::shared_ptr<const ChecksumDelegate>&);

struct Algorithm {
    const char* name;
    platform::DigestAlgorithm algorithm;
    HashForFile hash;
    const char* tool;
    double opensslAim;
    double toolAim;
};

void measureAlgorithm(const Algorithm& each, const std::string& bytes, const Path& file,
                      int rounds) {
    const auto inMemory = [&] {
        auto context = platform::services().digests->begin(each.algorithm);
        context.update(bytes);
        require(!context.finish().empty());
    };
    const std::string quoted = " '" + file + "' >/dev/null";
    measure(std::string("hash-") + each.name,
            timed([&] { require(each.hash(file, nullptr).has_value()); }),
            {{"memory", timed(inMemory), 1.08},
             {"openssl", timed(command("openssl dgst -" + std::string(each.name) + quoted)),
              each.opensslAim},
             {each.tool, timed(command(each.tool + quoted)), each.toolAim}},
            rounds);
}

} // namespace
} // namespace quorvane::bench

/// hash_bench [ROUNDS]
int main(int argc, char** argv) {
    using namespace quorvane;
    using platform::DigestAlgorithm;
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 7;
    const platform::Services services =
        platform::linux_::makeServices(std::make_shared<platform::linux_::RunLoop>());
    platform::installServices(&services);
    const bench::ScratchFolder scratch;
    const std::string bytes = bench::content();
    const Path file = scratch.path() + "/file";
    std::ofstream(file, std::ios::binary) << bytes;
    for (const bench::Algorithm& each : {
             bench::Algorithm{"sha1", DigestAlgorithm::sha1, QVFileManager::sha1HashForFile,
                              "sha1sum", 1 / 1.15, 1 / 2.4},
             {"md5", DigestAlgorithm::md5, QVFileManager::md5HashForFile, "md5sum", 1, 1},
             {"sha512", DigestAlgorithm::sha512, QVFileManager::sha512HashForFile, "sha512sum", 1,
              1 / 1.6},
         })
        bench::measureAlgorithm(each, bytes, file, rounds);
}
