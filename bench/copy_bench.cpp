// The verified copy of 1 GiB to one and to three places, each read back and judged by SHA-1,
// against what people use for that, on a disk and in memory. A run begins without destinations.
#include <array>
#include <cstring>
#include <fstream>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

#include "bench/measure.h"
#include "kit/files/QVFileManager.h"
#include "platform/Services.h"
#include "platform/linux/run_loop.h"
#include "platform/linux/services.h"

namespace quorvane::bench {
namespace {

constexpr std::size_t kSize = std::size_t{1} << 30U;
constexpr std::size_t kChunk = 65'536;
using Chunk = std::array<char, kChunk>;

platform::DigestContext sha1() {
    return platform::services().digests->begin(platform::DigestAlgorithm::sha1);
}

/// A file that a straightforward program has open.
class File {
public:
    File(const Path& path, int flags) : descriptor_(open(path.c_str(), flags | O_CLOEXEC, 0666)) {
        require(descriptor_ >= 0);
    }
    File(File&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    File& operator=(File&&) = delete;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() {
        if (descriptor_ >= 0) close(descriptor_);
    }

    bool readChunk(Chunk& chunk) const {
        return read(descriptor_, chunk.data(), kChunk) == static_cast<ssize_t>(kChunk);
    }
    void writeAndReadBack(const Chunk& chunk, off_t offset, Chunk& found) const {
        require(pwrite(descriptor_, chunk.data(), kChunk, offset) == static_cast<ssize_t>(kChunk));
        require(pread(descriptor_, found.data(), kChunk, offset) == static_cast<ssize_t>(kChunk));
    }

private:
    int descriptor_;
};

class Copies {
public:
    Copies(const Path& folder, std::size_t count) : source_(folder + "/source") {
        for (std::size_t i = 0; i < count; ++i)
            destinations_.push_back(folder + "/copy" + std::to_string(i));
    }

    Run fresh(Work work) const {
        return [this, work = std::move(work)] {
            for (const Path& destination : destinations_) unlink(destination.c_str());
            return secondsOf(work);
        };
    }
    /// A command for each destination, in which $S is the source and $D the destination.
    Work shell(const std::string& line) const {
        std::string lines = "set -e; S='" + source_ + "';";
        for (const Path& destination : destinations_)
            lines.append(" D='").append(destination).append("'; ").append(line);
        return command(lines);
    }

    void withKit() const {
        bool verified = true;
        const auto delegate = std::make_shared<FileCopyDelegate>();
        delegate->fileCopyVerificationFailed = [&](const CopySettings&, const Path&) {
            verified = false;
        };
        require(QVFileManager::copyFileWithProgress(source_, destinations_, VerificationType::sha1,
                                                    delegate));
        require(verified);
    }
    void comparing() const {
        onePass([](std::size_t, const Chunk& chunk, const Chunk& found) {
            require(std::memcmp(chunk.data(), found.data(), kChunk) == 0);
        });
    }
    void digestingEach() const {
        platform::DigestContext source = sha1();
        std::vector<platform::DigestContext> digests(destinations_.size(), source);
        onePass([&](std::size_t number, const Chunk& chunk, const Chunk& found) {
            if (number == 0) source.update({chunk.data(), kChunk});
            digests[number].update({found.data(), kChunk});
        });
        const Bytes expected = source.finish();
        for (platform::DigestContext& digest : digests) require(digest.finish() == expected);
    }

private:
    template <class Judge>
    void onePass(Judge judge) const {
        const File source(source_, O_RDONLY);
        std::vector<File> files;
        for (const Path& path : destinations_) files.emplace_back(path, O_RDWR | O_CREAT | O_TRUNC);
        const auto chunk = std::make_unique<Chunk>();
        const auto found = std::make_unique<Chunk>();
        for (off_t offset = 0; source.readChunk(*chunk); offset += static_cast<off_t>(kChunk))
            for (std::size_t number = 0; number < files.size(); ++number) {
                files[number].writeAndReadBack(*chunk, offset, *found);
                judge(number, *chunk, *found);
            }
    }

    Path source_;
    std::vector<Path> destinations_;
};

void digestInMemory() {
    static const std::string bytes(kSize, 'x');
    platform::DigestContext context = sha1();
    context.update(bytes);
    require(!context.finish().empty());
}

void measureCopies(const Path& folder, const std::string& place, std::size_t count, int rounds) {
    const Copies copies(folder, count);
    const Run comparing = copies.fresh([&] { copies.comparing(); });
    const auto limit = [&] { return std::max(comparing(), secondsOf(digestInMemory)); };
    const std::string kept = R"(sha1sum "$S" "$D" >/dev/null;)";
    std::vector<Peer> peers{
        {"cp-sha1sum", copies.fresh(copies.shell(R"(cp "$S" "$D"; )" + kept)), 1},
        {"rsync", copies.fresh(copies.shell(R"(rsync "$S" "$D"; rsync -c "$S" "$D";)")), 1},
        {"rclone", copies.fresh(copies.shell(R"(rclone copyto "$S" "$D" 2>/dev/null;)")), 1},
        {"digest-each", copies.fresh([&] { copies.digestingEach(); }), 1},
    };
    if (count == 1)
        peers.push_back({"limit", limit, 1.15});
    else
        peers.push_back({"cp", copies.fresh(copies.shell(R"(cp "$S" "$D";)")), 1.35});
    measure("copy-" + std::to_string(count) + "-" + place, copies.fresh([&] { copies.withKit(); }),
            peers, rounds);
}

void measurePlace(const std::filesystem::path& parent, const std::string& place, int rounds) {
    const ScratchFolder scratch(parent);
    std::ofstream(scratch.path() + "/source", std::ios::binary) << std::string(kSize, 'x');
    for (const std::size_t count : {1U, 3U}) measureCopies(scratch.path(), place, count, rounds);
}

} // namespace
} // namespace quorvane::bench

/// copy_bench [ROUNDS]
int main(int argc, char** argv) {
    using namespace quorvane;
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 3;
    const platform::Services services =
        platform::linux_::makeServices(std::make_shared<platform::linux_::RunLoop>());
    platform::installServices(&services);
    bench::measurePlace(std::filesystem::temp_directory_path(), "disk", rounds);
    bench::measurePlace("/dev/shm", "memory", rounds);
}
