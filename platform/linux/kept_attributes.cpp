#include "platform/linux/kept_attributes.h"

#include <endian.h>
#include <fcntl.h>
#include <linux/limits.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr mode_t kPermissionBits = 07777;
constexpr mode_t kSetIdBits = S_ISUID | S_ISGID;
constexpr const char* kAccessList = "system.posix_acl_access";
constexpr const char* kDefaultList = "system.posix_acl_default";

/// Makes a system call by descriptor, or by the path that leads through the descriptor where this
/// is open as a place only.
template <class ByDescriptor, class ByPath>
auto onItem(int item, ByDescriptor byDescriptor, ByPath byPath) {
    const auto result = byDescriptor(item);
    if (result != -1 || errno != EBADF) return result;
    return byPath(("/proc/self/fd/" + std::to_string(item)).c_str());
}

ssize_t listAttributes(int item, char* names, std::size_t size) {
    return onItem(
        item, [&](int open) { return flistxattr(open, names, size); },
        [&](const char* path) { return listxattr(path, names, size); });
}

ssize_t getAttribute(int item, const char* name, char* value, std::size_t size) {
    return onItem(
        item, [&](int open) { return fgetxattr(open, name, value, size); },
        [&](const char* path) { return getxattr(path, name, value, size); });
}

int setAttribute(int item, const char* name, const char* value, std::size_t size) {
    return onItem(
        item, [&](int open) { return fsetxattr(open, name, value, size, 0); },
        [&](const char* path) { return setxattr(path, name, value, size, 0); });
}

int removeAttribute(int item, const char* name) {
    return onItem(
        item, [&](int open) { return fremovexattr(open, name); },
        [&](const char* path) { return removexattr(path, name); });
}

int changeMode(int item, mode_t mode) {
    return onItem(
        item, [&](int open) { return fchmod(open, mode); },
        [&](const char* path) { return chmod(path, mode); });
}

std::array<timespec, 2> timesOf(const struct stat& status) {
    return {status.st_atim, status.st_mtim};
}

int changeTimes(int item, const std::array<timespec, 2>& times) {
    return onItem(
        item, [&](int open) { return futimens(open, times.data()); },
        [&](const char* path) { return utimensat(AT_FDCWD, path, times.data(), 0); });
}

/// Some file systems say that they gave an item away and do not.
bool giveTo(int item, const struct stat& owner) {
    if (fchownat(item, "", owner.st_uid, owner.st_gid, AT_EMPTY_PATH) != 0) return false;
    if ((owner.st_mode & kSetIdBits) == 0) return true;
    struct stat now {};
    return fstat(item, &now) == 0 && now.st_uid == owner.st_uid && now.st_gid == owner.st_gid;
}

/// The mount flags of an open item's volume; null where they cannot be told.
std::optional<unsigned long> mountFlags(int item) {
    struct statvfs volume {};
    if (fstatvfs(item, &volume) != 0) return std::nullopt;
    return volume.f_flag;
}

bool honoursPrivileges(int item) { return (mountFlags(item).value_or(ST_NOSUID) & ST_NOSUID) == 0; }

/// The names of an item's extended attributes, each with a NUL behind it.
Result<std::string> attributeNames(int source) {
    std::string names;
    while (true) {
        const ssize_t needed = listAttributes(source, nullptr, 0);
        if (needed < 0 && errno == EOPNOTSUPP) return std::string();
        if (needed < 0) return systemError();
        names.resize(static_cast<std::size_t>(needed));
        if (names.empty()) return names;
        const ssize_t size = listAttributes(source, names.data(), names.size());
        if (size < 0 && errno == ERANGE) continue; // more of them meanwhile
        if (size < 0) return systemError();
        names.resize(static_cast<std::size_t>(size));
        return names;
    }
}

Result<void> copyAttribute(int source, int copy, const char* name) {
    std::string value(XATTR_SIZE_MAX, '\0');
    const ssize_t size = getAttribute(source, name, value.data(), value.size());
    const bool isUsers = std::string_view(name).starts_with("user.");
    if (size >= 0 && setAttribute(copy, name, value.data(), static_cast<std::size_t>(size)) == 0)
        return {};
    if (!isUsers || errno == EOPNOTSUPP || errno == ENODATA) return {};
    return systemError();
}

bool isPrivilege(std::string_view attribute) {
    return attribute.starts_with("security.") || attribute.starts_with("trusted.");
}

Result<void> copyAttributes(int source, int copy, Privileges privileges) {
    const Result<std::string> names = attributeNames(source);
    if (!names) return names.error();
    for (std::size_t start = 0; start < names.value().size();) {
        const char* const name = names.value().c_str() + start;
        start += std::string_view(name).size() + 1;
        if (privileges == Privileges::dropped && isPrivilege(name)) continue;
        if (auto copied = copyAttribute(source, copy, name); !copied) return copied;
    }
    return {};
}

/// What an access control list gives the owning group; nothing if it cannot be read.
mode_t groupsPart(std::string_view list) {
    constexpr std::uint16_t kOwningGroup = 0x04;
    constexpr mode_t kPlaceInMode = 3;
    struct Entry {
        std::uint16_t tag;
        std::uint16_t may;
        std::uint32_t who;
    };
    constexpr std::size_t kHeader = sizeof(std::uint32_t); // the version
    for (std::size_t at = kHeader; at + sizeof(Entry) <= list.size(); at += sizeof(Entry)) {
        Entry entry{};
        std::memcpy(&entry, list.data() + at, sizeof entry);
        if (le16toh(entry.tag) == kOwningGroup)
            return static_cast<mode_t>(le16toh(entry.may) & S_IRWXO) << kPlaceInMode;
    }
    return 0;
}

/// The mode as the copy may have it. Where an item has a list, the group's part of its mode is what
/// anybody on the list may have.
mode_t withoutLostList(mode_t mode, int source, int copy) {
    if (getAttribute(source, kAccessList, nullptr, 0) <= 0) return mode;
    if (getAttribute(copy, kAccessList, nullptr, 0) > 0) return mode;
    std::string list(XATTR_SIZE_MAX, '\0');
    const ssize_t size = getAttribute(source, kAccessList, list.data(), list.size());
    list.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return mode & (~static_cast<mode_t>(S_IRWXG) | groupsPart(list));
}

/// Whether a volume refuses what it does not keep. The copy is as open there as everything is, or
/// to its owner only, as it was made.
bool isNotKept(int code) { return code == EPERM || code == ENOSYS || code == EOPNOTSUPP; }

} // namespace

Result<void> keepAttributes(int source, int copy, const struct stat& status,
                            Privileges privileges) {
    const bool keepsOwner = giveTo(copy, status);
    if (!honoursPrivileges(source)) privileges = Privileges::dropped;
    if (auto copied = copyAttributes(source, copy, privileges); !copied) return copied;
    mode_t mode = withoutLostList(status.st_mode & kPermissionBits, source, copy);
    // What runs with its owner's rights must not do so with another's.
    if (!keepsOwner || (S_ISREG(status.st_mode) && privileges == Privileges::dropped))
        mode &= ~kSetIdBits;
    if (changeMode(copy, mode) != 0 && !isNotKept(errno)) return systemError();
    if (changeTimes(copy, timesOf(status)) != 0 && !isNotKept(errno)) return systemError();
    return {};
}

Result<void> keepAttributesOfLink(int folder, const char* name, const struct stat& status) {
    ignore(fchownat(folder, name, status.st_uid, status.st_gid, AT_SYMLINK_NOFOLLOW));
    if (utimensat(folder, name, timesOf(status).data(), AT_SYMLINK_NOFOLLOW) != 0)
        return systemError();
    return {};
}

Result<void> dropInheritedLists(int item) {
    for (const char* list : {kAccessList, kDefaultList}) {
        if (removeAttribute(item, list) == 0 || errno == ENODATA || errno == EOPNOTSUPP) continue;
        const Error failure = systemError();
        if (getAttribute(item, list, nullptr, 0) > 0) return failure;
    }
    return {};
}

bool honoursDevices(int item) { return (mountFlags(item).value_or(ST_NODEV) & ST_NODEV) == 0; }

} // namespace quorvane::platform::linux_
