#include "platform/linux/file_attributes.h"

#include <array>
#include <charconv>
#include <string>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr unsigned long kPermissionBits = 07777;

FileTime fileTime(const statx_timestamp& time) {
    return FileTime(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
}

timespec timeSpec(FileTime time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    return {seconds.time_since_epoch().count(), (time - seconds).count()};
}

Result<struct statx> statusOf(const Path& path) {
    struct statx status {};
    const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
    if (statx(AT_FDCWD, path.c_str(), flags, STATX_BASIC_STATS | STATX_BTIME, &status) != 0)
        return systemError();
    return status;
}

/// Whether an item can have inode flags and attributes of the user's: links, devices, FIFOs and
/// sockets cannot.
bool isFileOrFolder(const struct statx& status) {
    return S_ISREG(status.stx_mode) || S_ISDIR(status.stx_mode);
}

std::optional<bool> immutableFlag(const struct statx& status) {
    if ((status.stx_attributes_mask & STATX_ATTR_IMMUTABLE) == 0) return std::nullopt;
    return (status.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
}

std::optional<FileTime> keptCreationDate(const Path& path) {
    std::array<char, 32> text{};
    const ssize_t size = lgetxattr(path.c_str(), kCreationDateAttribute, text.data(), text.size());
    if (size <= 0) return std::nullopt;
    std::int64_t count = 0;
    const char* end = text.data() + size;
    const auto parsed = std::from_chars(text.data(), end, count);
    if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return FileTime(std::chrono::nanoseconds(count));
}

std::optional<FileTime> creationDate(const Path& path, const struct statx& status) {
    if (isFileOrFolder(status)) {
        if (const auto kept = keptCreationDate(path)) return kept;
    }
    if ((status.stx_mask & STATX_BTIME) == 0) return std::nullopt;
    return fileTime(status.stx_btime);
}

bool saysNoFlags(int code) { return code == ENOTTY || code == EOPNOTSUPP || code == ENOSYS; }

/// Opens the item for its flags. It is pinned first and opened through its descriptor, so that a
/// device put in its place meanwhile is never opened.
Result<Descriptor> openForFlags(const Path& path) {
    const Descriptor pinned(
        retryInterrupted([&] { return open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC); }));
    if (!pinned) return systemError();
    struct stat status {};
    if (fstat(pinned.get(), &status) != 0) return systemError();
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) return systemError(EOPNOTSUPP);
    const std::string reopened = "/proc/self/fd/" + std::to_string(pinned.get());
    Descriptor item(retryInterrupted(
        [&] { return open(reopened.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); }));
    if (!item) return systemError();
    return item;
}

Result<void> setImmutableFlag(const Path& path, bool immutable) {
    const Result<Descriptor> item = openForFlags(path);
    if (!item) return item.error();
    int flags = 0;
    if (ioctl(item.value().get(), FS_IOC_GETFLAGS, &flags) != 0)
        return systemError(saysNoFlags(errno) ? EOPNOTSUPP : errno);
    const int wanted = immutable ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
    if (wanted == flags) return {};
    if (ioctl(item.value().get(), FS_IOC_SETFLAGS, &wanted) != 0)
        return systemError(saysNoFlags(errno) ? EOPNOTSUPP : errno);
    return {};
}

Result<void> changeImmutable(const Path& path, const struct statx& status, bool immutable) {
    if (immutableFlag(status) == immutable) return {};
    Result<void> changed = isFileOrFolder(status) ? setImmutableFlag(path, immutable)
                                                  : Result<void>(systemError(EOPNOTSUPP));
    if (!changed && changed.error().code == EOPNOTSUPP && !immutable) return {};
    return changed;
}

Result<void> changePermissions(const Path& path, const struct statx& status,
                               unsigned long permissions) {
    const auto mode = static_cast<mode_t>(permissions & kPermissionBits);
    if ((status.stx_mode & kPermissionBits) == mode) return {};
    if (fchmodat(AT_FDCWD, path.c_str(), mode, AT_SYMLINK_NOFOLLOW) != 0) return systemError();
    return {};
}

Result<void> changeCreationDate(const Path& path, const struct statx& status, FileTime date) {
    if (creationDate(path, status) == date) return {};
    const std::string text = std::to_string(date.time_since_epoch().count());
    if (lsetxattr(path.c_str(), kCreationDateAttribute, text.data(), text.size(), 0) != 0)
        return systemError();
    return {};
}

Result<void> changeModificationDate(const Path& path, const struct statx& status, FileTime date) {
    if (fileTime(status.stx_mtime) == date) return {};
    const std::array<timespec, 2> times = {timespec{0, UTIME_OMIT}, timeSpec(date)};
    if (utimensat(AT_FDCWD, path.c_str(), times.data(), AT_SYMLINK_NOFOLLOW) != 0)
        return systemError();
    return {};
}

} // namespace

Result<ItemAttributes> readAttributes(const Path& path) {
    const Result<Path> plain = systemPath(path);
    if (!plain) return plain.error();
    const Result<struct statx> found = statusOf(plain.value());
    if (!found) return found.error();
    const struct statx& status = found.value();
    return ItemAttributes{immutableFlag(status), status.stx_mode & kPermissionBits,
                          creationDate(plain.value(), status), fileTime(status.stx_mtime),
                          status.stx_size};
}

Result<void> changeAttributes(const Path& path, const AttributeChanges& changes) {
    const Result<Path> plain = systemPath(path);
    if (!plain) return plain.error();
    const Result<struct statx> found = statusOf(plain.value());
    if (!found) return found.error();
    const Path& item = plain.value();
    const struct statx& status = found.value();
    Result<void> changed;
    if (changes.immutable) changed = changeImmutable(item, status, *changes.immutable);
    if (changed && changes.posixPermissions)
        changed = changePermissions(item, status, *changes.posixPermissions);
    if (changed && changes.creationDate)
        changed = changeCreationDate(item, status, *changes.creationDate);
    if (changed && changes.modificationDate)
        changed = changeModificationDate(item, status, *changes.modificationDate);
    return changed;
}

} // namespace quorvane::platform::linux_
