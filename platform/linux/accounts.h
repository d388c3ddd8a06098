// The user database.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// An entry of the user database.
struct Account {
    std::string name;
    uid_t uid = 0;
    gid_t gid = 0;
    Path home; ///< spelt plainly where it is absolute
};

/// Null when the database has no such user or cannot be read. Any thread.
std::optional<Account> accountNamed(const std::string& name);
std::optional<Account> accountWithId(uid_t uid);

/// All groups of the account, its own first. Any thread.
std::vector<gid_t> groupsOf(const Account& account);

} // namespace quorvane::platform::linux_
