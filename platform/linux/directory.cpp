#include "platform/linux/directory.h"

#include <array>
#include <cstring>
#include <string_view>

#include <dirent.h>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr std::size_t kBufferSize = 32UL * 1024;

/// Adds what one system call has read.
void parseEntries(const char* position, const char* end, std::vector<DirectoryEntry>& entries) {
    while (position < end) {
        dirent64 header{};
        std::memcpy(&header, position, offsetof(dirent64, d_name));
        const std::string_view name = position + offsetof(dirent64, d_name);
        if (name != "." && name != "..")
            entries.push_back({std::string(name), header.d_type == DT_DIR});
        position += header.d_reclen;
    }
}

} // namespace

Result<std::vector<DirectoryEntry>> readEntries(int directory) {
    std::vector<DirectoryEntry> entries;
    std::array<char, kBufferSize> buffer; // NOLINT(*-pro-type-member-init): the kernel fills it
    while (true) {
        const ssize_t size =
            retryInterrupted([&] { return getdents64(directory, buffer.data(), buffer.size()); });
        if (size < 0) return systemError();
        if (size == 0) return entries;
        parseEntries(buffer.data(), buffer.data() + size, entries);
    }
}

} // namespace quorvane::platform::linux_
