#include "platform/linux/privileged_helper/place.h"

#include <fcntl.h>

#include <linux/openat2.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstring>

#include "platform/linux/file_moving.h"

namespace quorvane::platform::linux_::helper {
namespace {

constexpr mode_t kFolderMode = 0755;

Descriptor openPart(int folder, const char* name, MakeMissing makeMissing) {
    Descriptor opened = openBelow(folder, name);
    if (opened || errno != ENOENT || makeMissing == MakeMissing::no) return opened;
    // Somebody else may just have made it.
    if (::mkdirat(folder, name, kFolderMode) == -1 && errno != EEXIST) return {};
    return openBelow(folder, name);
}

} // namespace

bool Place::status(struct stat& status) const {
    return name != nullptr && ::fstatat(folder.get(), name, &status, AT_SYMLINK_NOFOLLOW) == 0;
}

ItemPlace itemAt(const Place& place) { return {duplicate(place.folder), place.name}; }

bool renamePlace(const Place& source, const Place& destination, Replace replace) {
    if (replace == Replace::yes)
        return ::renameat(source.folder.get(), source.name, destination.folder.get(),
                          destination.name) == 0;
    const Result<void> renamed = renameItem(itemAt(source), itemAt(destination));
    if (!renamed) errno = renamed.error().code;
    return renamed.ok();
}

Descriptor openBelow(int folder, const char* name) {
    return openResolving(folder, name, O_PATH | O_DIRECTORY | O_CLOEXEC,
                         RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS);
}

Place openPlace(const char* operand, MakeMissing makeMissing) {
    Place place;
    place.folder = openBelow(AT_FDCWD, "/");
    if (!place.folder) {
        place.error = errno;
        return place;
    }
    const char* part = operand + 1;
    while (const char* end = std::strchr(part, '/')) {
        std::array<char, NAME_MAX + 1> name{};
        const auto length = static_cast<std::size_t>(end - part);
        if (length > NAME_MAX) {
            place.error = ENAMETOOLONG;
            return place;
        }
        std::memcpy(name.data(), part, length);
        place.folder = openPart(place.folder.get(), name.data(), makeMissing);
        if (!place.folder) {
            place.error = errno;
            return place;
        }
        part = end + 1;
    }
    place.name = part;
    if (std::strlen(part) > NAME_MAX) place.error = ENAMETOOLONG;
    return place;
}

} // namespace quorvane::platform::linux_::helper
