// Requests that put something into the Trash.
#pragma once

#include <optional>

#include "platform/Values.h"
#include "platform/linux/trash.h"

namespace quorvane::platform::linux_ {

/// How often an item that is moved to the Trash gets another name, where somebody else takes the
/// one that was free.
inline constexpr int kTrashAttempts = 5;

/// Has a move or a copy that ends in the Trash replace nothing there: the arguments become those of
/// the form that replaces nothing, with a free name for a moved item, which is written down in the
/// Trash. Other arguments, and other tools, stay as they are. Returns what is announced.
std::optional<TrashAnnouncement> announceInTrash(Trash& trash, const Path& tool,
                                                 Arguments& arguments);

} // namespace quorvane::platform::linux_
