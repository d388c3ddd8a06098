#include "platform/linux/directory.h"

#include <cstring>
#include <string_view>

#include <dirent.h>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr std::size_t kBufferSize = 32UL * 1024;

EntryKind kindOf(unsigned char type) {
    switch (type) {
    case DT_UNKNOWN:
        return EntryKind::unknown;
    case DT_DIR:
        return EntryKind::folder;
    case DT_LNK:
        return EntryKind::link;
    default:
        return EntryKind::other;
    }
}

} // namespace

Result<bool> DirectoryReader::read(int directory) {
    buffer_.resize(kBufferSize);
    const ssize_t size =
        retryInterrupted([&] { return getdents64(directory, buffer_.data(), buffer_.size()); });
    size_ = size < 0 ? 0 : static_cast<std::size_t>(size);
    if (size < 0) return systemError();
    return size > 0;
}

DirectoryReader::Entry DirectoryReader::entryAt(std::size_t position) const {
    const char* const entry = buffer_.data() + position;
    dirent64 header{};
    std::memcpy(&header, entry, offsetof(dirent64, d_name));
    return {entry + offsetof(dirent64, d_name), kindOf(header.d_type), header.d_reclen};
}

bool DirectoryReader::isDots(const char* name) {
    if (name[0] != '.') return false;
    return name[1] == '\0' || (name[1] == '.' && name[2] == '\0');
}

Result<std::vector<DirectoryEntry>> readEntries(int directory) {
    std::vector<DirectoryEntry> entries;
    DirectoryReader reader;
    while (true) {
        const Result<bool> more = reader.read(directory);
        if (!more) return more.error();
        if (!more.value()) return entries;
        reader.forEach([&](const char* name, EntryKind kind) {
            entries.push_back({name, kind == EntryKind::folder});
            return true;
        });
    }
}

} // namespace quorvane::platform::linux_
