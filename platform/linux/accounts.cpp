#include "platform/linux/accounts.h"

#include <grp.h>
#include <pwd.h>

#include <cerrno>

#include "platform/linux/plain_path.h"

namespace quorvane::platform::linux_ {
namespace {

// Entries of directory services can be long; beyond this one is refused.
constexpr std::size_t kMaxEntryLength = std::size_t{1} << 20U;

template <class Lookup>
std::optional<Account> find(Lookup lookup) {
    for (std::size_t length = 1024; length <= kMaxEntryLength; length *= 4) {
        std::vector<char> buffer(length);
        passwd entry{};
        passwd* found = nullptr;
        const int code = lookup(&entry, buffer.data(), buffer.size(), &found);
        if (code == ERANGE) continue;
        if (code != 0 || found == nullptr) return std::nullopt;
        return Account{entry.pw_name, entry.pw_uid, entry.pw_gid, plainPath(entry.pw_dir)};
    }
    return std::nullopt;
}

} // namespace

std::optional<Account> accountNamed(const std::string& name) {
    return find([&](passwd* entry, char* buffer, std::size_t length, passwd** found) {
        return getpwnam_r(name.c_str(), entry, buffer, length, found);
    });
}

std::optional<Account> accountWithId(uid_t uid) {
    return find([&](passwd* entry, char* buffer, std::size_t length, passwd** found) {
        return getpwuid_r(uid, entry, buffer, length, found);
    });
}

std::vector<gid_t> groupsOf(const Account& account) {
    int count = 32;
    std::vector<gid_t> groups(static_cast<std::size_t>(count));
    while (getgrouplist(account.name.c_str(), account.gid, groups.data(), &count) == -1)
        groups.resize(static_cast<std::size_t>(count));
    groups.resize(static_cast<std::size_t>(count));
    return groups;
}

} // namespace quorvane::platform::linux_
