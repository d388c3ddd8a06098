#include "platform/linux/file_moving.h"

#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {

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
