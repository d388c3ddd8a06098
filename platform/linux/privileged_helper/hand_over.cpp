#include "platform/linux/privileged_helper/hand_over.h"

#include <fcntl.h>
#include <sys/xattr.h>

#include <optional>
#include <string>
#include <utility>

#include "platform/linux/folder_trail.h"
#include "platform/linux/privileged_helper/tree_search.h"

namespace quorvane::platform::linux_::helper {
namespace {

/// Somebody who is not known by number.
constexpr auto kSomebody = static_cast<uid_t>(-1);
constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;

/// Asks of an open folder, and of each above it up to the root, until one is met; whether it is.
/// True as well where the way cannot be gone to its end.
template <class Test>
bool anyOnTheWayUp(int folder, const Test& test) {
    Descriptor here = openBelow(folder, ".");
    while (here) {
        struct stat status {};
        if (::fstat(here.get(), &status) == -1 || test(status)) return true;
        Descriptor above = openBelow(here.get(), "..");
        const Result<FolderIdentity> one = identify(here);
        const Result<FolderIdentity> other = identify(above);
        if (!one || !other) return true;
        if (one.value() == other.value()) return false; // the root
        here = std::move(above);
    }
    return true;
}

/// The user who can change what stands in a folder, or take the folder itself away; null where
/// nobody but the superuser can.
std::optional<uid_t> userOf(int folder) {
    uid_t user = kSomebody;
    bool isFirst = true;
    const bool isAUsers = anyOnTheWayUp(folder, [&](const struct stat& status) {
        // In a sticky folder further up, others can do nothing about what belongs to the superuser.
        const bool isShared =
            (status.st_mode & kOthersWrite) != 0 && (isFirst || (status.st_mode & S_ISVTX) == 0);
        isFirst = false;
        if (status.st_uid != 0) user = status.st_uid;
        return status.st_uid != 0 || isShared;
    });
    return isAUsers ? std::optional(user) : std::nullopt;
}

/// Whether a user can go into a folder, as far as modes tell: a list may give more, or deny it.
/// Whether the user is one of the group is not asked.
bool isOpenTo(uid_t user, int folder) {
    return !anyOnTheWayUp(folder, [&](const struct stat& status) {
        const mode_t needed = status.st_uid == user ? S_IXUSR : S_IXGRP | S_IXOTH;
        return (status.st_mode & needed) != needed;
    });
}

bool isPrivileged(int folder, const char* name, const struct stat& status) {
    if (S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode)) return true;
    if (!S_ISREG(status.st_mode)) return false;
    if ((status.st_mode & (S_ISUID | S_ISGID)) != 0) return true;
    const std::string path = "/proc/self/fd/" + std::to_string(folder) + "/" + name;
    return ::lgetxattr(path.c_str(), "security.capability", nullptr, 0) > 0;
}

} // namespace

Privileges privilegesKept(Job job, const Place& source, const Place& destination) {
    const std::optional<uid_t> user = userOf(destination.folder.get());
    const bool isKept = !user || (job == Job::move && isOpenTo(*user, source.folder.get()));
    return isKept ? Privileges::kept : Privileges::dropped;
}

bool holdsPrivileges(const Place& item) {
    struct stat status {};
    if (!item.status(status)) return false;
    return holdsAny({duplicate(item.folder), item.name}, isPrivileged);
}

} // namespace quorvane::platform::linux_::helper
