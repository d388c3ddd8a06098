#include "platform/linux/file_moving.h"

#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/file_copying.h"
#include "platform/linux/file_removal.h"
#include "platform/linux/mount_table.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

/// Whether two paths without a NUL are the same but for slashes at their ends.
bool areOnePath(const Path& one, const Path& other) {
    return systemPath(one).value() == systemPath(other).value();
}

} // namespace

Result<void> moveTree(const Path& source, const Path& destination) {
    const Result<ItemPlace> from = openParent(source);
    if (!from) return from.error();
    const Result<ItemPlace> to = openParent(destination);
    if (!to) return to.error();
    Result<void> moved = checkHoldsNoMount(from.value().folder.get(), from.value().name.c_str());
    if (!moved) return moved;
    moved = renameItem(from.value(), to.value());
    if (moved) return moved;
    if (moved.error().code == EEXIST && areOnePath(source, destination)) return {};
    if (moved.error().code != EXDEV) return moved;
    CopiedItems copied;
    moved = copyTree(from.value(), to.value(), copied);
    // A copy that is whole stays, whatever becomes of the source from here on.
    if (moved) moved = removeCopied(from.value(), copied);
    return moved;
}

Result<void> renameItem(const ItemPlace& source, const ItemPlace& destination) {
    if (renameat2(source.folder.get(), source.name.c_str(), destination.folder.get(),
                  destination.name.c_str(), RENAME_NOREPLACE) == 0)
        return {};
    if (errno != EINVAL && errno != ENOSYS) return systemError();
    return renameOntoPlaceholder(source, destination);
}

Result<void> renameOntoPlaceholder(const ItemPlace& source, const ItemPlace& destination) {
    const char* const name = destination.name.c_str();
    const int folder = destination.folder.get();
    struct stat status {};
    if (fstatat(source.folder.get(), source.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return systemError();
    const bool isFolder = S_ISDIR(status.st_mode);
    const int made = isFolder ? mkdirat(folder, name, S_IRWXU)
                              : mknodat(folder, name, S_IFREG | S_IRUSR | S_IWUSR, 0);
    if (made != 0) return systemError();
    if (renameat(source.folder.get(), source.name.c_str(), folder, name) == 0) return {};
    Result<void> failure = systemError();
    unlinkat(folder, name, isFolder ? AT_REMOVEDIR : 0);
    return failure;
}

} // namespace quorvane::platform::linux_
