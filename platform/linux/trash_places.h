// Where the Trash is, by any path.
#pragma once

#include <optional>

#include "platform/Values.h"
#include "platform/linux/trash_owner.h"

namespace quorvane::platform::linux_ {

/// As Workspace::isInTrash, for the user whose own Trash may stand anywhere; without one, only what
/// is a Trash by its name is known. Null where the system does not tell where the item is. Any
/// thread.
std::optional<bool> liesInTrash(const Path& path, const std::optional<TrashOwner>& owner);

} // namespace quorvane::platform::linux_
