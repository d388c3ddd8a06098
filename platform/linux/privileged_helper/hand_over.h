// What must not come into a user's hands by a move or a copy.
#pragma once

#include "platform/linux/kept_attributes.h"
#include "platform/linux/privileged_helper/command.h"
#include "platform/linux/privileged_helper/place.h"

namespace quorvane::platform::linux_::helper {

/// What a copied or moved item may keep of what lets files do more than their users may. In a
/// user's folder, or below one, a copy keeps nothing of it, as nobody would keep it up to date
/// there; a moved item keeps it where that user could reach it before.
Privileges privilegesKept(Job job, const Place& source, const Place& destination);

/// Whether an item is, or holds, a device or a file that does more than its user may. True where
/// that cannot be told.
bool holdsPrivileges(const Place& item);

} // namespace quorvane::platform::linux_::helper
