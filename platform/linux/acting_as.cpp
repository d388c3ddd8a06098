#include "platform/linux/acting_as.h"

#include <sys/fsuid.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace quorvane::platform::linux_ {
namespace {

// The C library would change the groups of all threads; the kernel changes the caller's.
bool setGroups(const std::vector<gid_t>& groups) {
    return ::syscall(SYS_setgroups, groups.size(), groups.data()) == 0;
}

std::vector<gid_t> currentGroups() {
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(0, ::getgroups(0, nullptr))));
    const int count = ::getgroups(static_cast<int>(groups.size()), groups.data());
    groups.resize(static_cast<std::size_t>(std::max(0, count)));
    return groups;
}

// These calls answer the number before, whether or not they succeed; -1 is never taken.
constexpr auto kQuery = static_cast<uid_t>(-1);
uid_t currentUid() { return static_cast<uid_t>(::setfsuid(kQuery)); }
gid_t currentGid() { return static_cast<gid_t>(::setfsgid(kQuery)); }

// The user number comes last: with it the rights to change the others may go.
bool take(const std::vector<gid_t>& groups, gid_t gid, uid_t uid) {
    if (!setGroups(groups)) return false;
    ::setfsgid(gid);
    ::setfsuid(uid);
    return currentGid() == gid && currentUid() == uid;
}

} // namespace

ActingAs::ActingAs(const std::optional<FileRights>& rights) {
    if (!rights) return;
    ownUid_ = currentUid();
    ownGid_ = currentGid();
    ownGroups_ = currentGroups();
    if (take(rights->groups, rights->gid, rights->uid)) {
        state_ = State::changed;
        return;
    }
    if (currentUid() != ownUid_ || currentGid() != ownGid_) take(ownGroups_, ownGid_, ownUid_);
    state_ = State::refused;
    errno = EPERM;
}

ActingAs::~ActingAs() {
    if (state_ != State::changed) return;
    const int code = errno;
    if (!take(ownGroups_, ownGid_, ownUid_)) std::abort();
    errno = code;
}

} // namespace quorvane::platform::linux_
