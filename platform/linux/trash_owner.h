// Whose Trash it is.
#pragma once

#include <sys/types.h>

#include <optional>

#include "platform/Values.h"
#include "platform/linux/acting_as.h"

namespace quorvane::platform {
class UserIdentity;
}

namespace quorvane::platform::linux_ {

struct TrashOwner {
    uid_t uid = 0;
    Path home;
    /// Where the user's programs keep their data; the home Trash stands in it.
    Path dataHome;
    /// What the superuser takes on in the owner's folders; null for the process's own user.
    std::optional<FileRights> rights;
};

/// The process's user; for the superuser the console user. Null when there is no such user or the
/// user has no home. Any thread.
std::optional<TrashOwner> trashOwner(UserIdentity& identity);

} // namespace quorvane::platform::linux_
