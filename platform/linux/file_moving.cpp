#include "platform/linux/file_moving.h"

#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/file_copying.h"
#include "platform/linux/file_removal.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

/// Whether two paths without a NUL are the same but for slashes at their ends.
bool areOnePath(const Path& one, const Path& other) {
    return systemPath(one).value() == systemPath(other).value();
}

/// What keeps the process from deleting an item, as far as the item and its folder tell.
Result<void> checkRemovable(const Path& path) {
    const Result<ItemPlace> place = openParent(path);
    if (!place) return place.error();
    const int folder = place.value().folder.get();
    if (faccessat(folder, ".", W_OK | X_OK, AT_EACCESS) != 0) return systemError();
    struct stat above {};
    if (fstat(folder, &above) != 0) return systemError();
    struct statx item {};
    if (statx(folder, place.value().name.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &item) !=
        0)
        return systemError();
    if ((item.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0)
        return systemError(EPERM);
    const uid_t user = geteuid();
    const bool mayRemove = user == 0 || user == above.st_uid || user == item.stx_uid;
    if ((above.st_mode & S_ISVTX) != 0 && !mayRemove) return systemError(EPERM);
    return {};
}

} // namespace

Result<void> moveTree(const Path& source, const Path& destination) {
    Result<void> moved = renameItem(source, destination);
    if (moved) return moved;
    if (moved.error().code == EEXIST && areOnePath(source, destination)) return {};
    if (moved.error().code != EXDEV) return moved;
    moved = checkRemovable(source);
    if (moved) moved = copyTree(source, destination);
    // A copy that is whole stays, whatever becomes of the source from here on.
    if (moved) moved = removeTree(source);
    return moved;
}

Result<void> renameItem(const Path& source, const Path& destination) {
    const Result<Path> from = systemPath(source);
    if (!from) return from.error();
    const Result<Path> to = systemPath(destination);
    if (!to) return to.error();
    if (renameat2(AT_FDCWD, from.value().c_str(), AT_FDCWD, to.value().c_str(), RENAME_NOREPLACE) ==
        0)
        return {};
    if (errno != EINVAL && errno != ENOSYS) return systemError();
    return renameOntoPlaceholder(from.value(), to.value());
}

Result<void> renameOntoPlaceholder(const Path& source, const Path& destination) {
    struct stat status {};
    if (lstat(source.c_str(), &status) != 0) return systemError();
    const bool isFolder = S_ISDIR(status.st_mode);
    const int made = isFolder ? mkdir(destination.c_str(), S_IRWXU)
                              : mknod(destination.c_str(), S_IFREG | S_IRUSR | S_IWUSR, 0);
    if (made != 0) return systemError();
    if (rename(source.c_str(), destination.c_str()) == 0) return {};
    Result<void> failure = systemError();
    unlinkat(AT_FDCWD, destination.c_str(), isFolder ? AT_REMOVEDIR : 0);
    return failure;
}

} // namespace quorvane::platform::linux_
