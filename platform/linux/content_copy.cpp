#include "platform/linux/content_copy.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <vector>

#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr std::size_t kBufferSize = 256UL * 1024;
constexpr off_t kToTheEnd = std::numeric_limits<off_t>::max();

bool saysNotThisWay(int code) {
    return code == EXDEV || code == EINVAL || code == ENOSYS || code == EOPNOTSUPP;
}

Result<void> writeAll(int destination, std::string_view bytes, off_t position) {
    while (!bytes.empty()) {
        const ssize_t count = retryInterrupted(
            [&] { return pwrite(destination, bytes.data(), bytes.size(), position); });
        if (count < 0) return systemError();
        bytes.remove_prefix(static_cast<std::size_t>(count));
        position += count;
    }
    return {};
}

Result<void> copyByReading(int source, int destination, off_t position, off_t end) {
    std::vector<char> buffer(kBufferSize);
    while (position < end) {
        const auto wanted = std::min<off_t>(kBufferSize, end - position);
        const ssize_t count = retryInterrupted([&] {
            return pread(source, buffer.data(), static_cast<std::size_t>(wanted), position);
        });
        if (count < 0) return systemError();
        if (count == 0) break;
        const auto size = static_cast<std::size_t>(count);
        if (auto written = writeAll(destination, {buffer.data(), size}, position); !written)
            return written;
        position += count;
    }
    return {};
}

Result<void> copyRange(int source, int destination, off_t begin, off_t end) {
    off_t from = begin;
    off_t to = begin;
    while (from < end) {
        const auto wanted = static_cast<std::size_t>(end - from);
        const ssize_t count = retryInterrupted(
            [&] { return copy_file_range(source, &from, destination, &to, wanted, 0); });
        if (count == 0) break; // the source was cut short meanwhile
        if (count > 0) continue;
        if (!saysNotThisWay(errno)) return systemError();
        return copyByReading(source, destination, from, end);
    }
    return {};
}

} // namespace

Result<void> copyContent(int source, int destination) {
    if (ioctl(destination, FICLONE, source) == 0) return {};
    struct stat status {};
    if (fstat(source, &status) != 0) return systemError();
    for (off_t position = 0; position < status.st_size || position == 0;) {
        const off_t data = lseek(source, position, SEEK_DATA);
        if (data < 0 && errno == ENXIO) break; // nothing but a hole
        // Files that the kernel makes up know neither holes nor their size.
        if (data < 0) return copyByReading(source, destination, position, kToTheEnd);
        if (data >= status.st_size) break;
        const off_t hole = lseek(source, data, SEEK_HOLE);
        if (hole < 0) return systemError();
        position = std::min(hole, status.st_size);
        if (auto copied = copyRange(source, destination, data, position); !copied) return copied;
    }
    if (ftruncate(destination, status.st_size) != 0) return systemError();
    return {};
}

} // namespace quorvane::platform::linux_
