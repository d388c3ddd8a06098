#include "platform/linux/tools/ditto/zip_format.h"

#include <algorithm>

#include <unistd.h>

#include "platform/linux/posix.h"
#include "platform/linux/tools/program.h"

namespace quorvane::platform::linux_::tools::ditto {

std::uint64_t number(std::string_view bytes, std::size_t offset, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t index = size; index-- > 0;) {
        const std::size_t place = offset + index;
        const char byte = place < bytes.size() ? bytes[place] : '\0';
        value = value << 8U | static_cast<unsigned char>(byte);
    }
    return value;
}

std::string ArchiveFile::read(std::uint64_t offset, std::size_t size) const {
    if (offset >= size_) return {};
    std::string bytes(std::min<std::uint64_t>(size, size_ - offset), '\0');
    const ssize_t length = retryInterrupted([&] {
        return ::pread(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    });
    if (length < 0) throw Failure(path_, systemError());
    bytes.resize(static_cast<std::size_t>(length));
    return bytes;
}

} // namespace quorvane::platform::linux_::tools::ditto
