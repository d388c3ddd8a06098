// Feeds the reader of archives with whatever the fuzzer thinks of.
#include <cstdint>
#include <cstdlib>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include "platform/linux/posix.h"
#include "platform/linux/tools/ditto/zip_directory.h"
#include "platform/linux/tools/ditto/zip_reader.h"
#include "platform/linux/tools/program.h"

using namespace quorvane;
using namespace quorvane::platform::linux_;
using namespace quorvane::platform::linux_::tools::ditto;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

/// What is listed lies in the file, one behind the other.
void checkPlaces(const ZipDirectory& directory, std::uint64_t size) {
    std::uint64_t place = directory.begin;
    for (const ListedItem& item : directory.items) {
        require(item.header >= place && item.dataEnd > item.header);
        place = item.dataEnd;
    }
    require(place <= directory.end && directory.end <= size);
    place = 0;
    for (const Correction& correction : directory.corrections) {
        require(correction.offset >= place && correction.size <= correction.bytes.size());
        place = correction.offset + correction.size;
    }
    require(place <= size);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Descriptor file(memfd_create("archive", MFD_CLOEXEC));
    require(write(file.get(), data, size) == static_cast<ssize_t>(size));
    try {
        const ZipDirectory directory = readDirectory({"archive", file.get(), size});
        checkPlaces(directory, size);
        std::size_t count = 0;
        for (ZipReader reader("/proc/self/fd/" + std::to_string(file.get()));
             reader.entry() != nullptr; reader.next()) {
            ignore(reader.contradiction());
            ++count;
        }
        require(count == directory.items.size());
    } catch (const tools::Failure&) {
        return 0;
    }
    return 0;
}
