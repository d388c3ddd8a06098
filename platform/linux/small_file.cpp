#include "platform/linux/small_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

/// Read at once where a file tells no size, as those of /proc do.
constexpr std::size_t kLeastPiece = 4096;

} // namespace

Result<Bytes> readSmallFile(const Path& path, std::size_t limit) {
    const Descriptor file(retryInterrupted(
        [&] { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); }));
    if (!file) return systemError();
    struct stat status {};
    if (::fstat(file.get(), &status) == -1) return systemError();
    if (!S_ISREG(status.st_mode)) return systemError(EINVAL);

    // One byte more than the file holds shows its end; it may still grow while it is read.
    Bytes content;
    std::size_t length = 0;
    const auto stated = static_cast<std::size_t>(status.st_size);
    content.resize(std::min(std::max(stated, kLeastPiece), limit) + 1);
    while (length <= limit) {
        if (length == content.size()) content.resize(std::min(2 * length, limit + 1));
        const ssize_t count = retryInterrupted(
            [&] { return ::read(file.get(), content.data() + length, content.size() - length); });
        if (count == -1) return systemError();
        if (count == 0) {
            content.resize(length);
            return content;
        }
        length += static_cast<std::size_t>(count);
    }
    return systemError(EFBIG);
}

} // namespace quorvane::platform::linux_
