// Bringing what a folder holds into another one.
#pragma once

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_::helper {

/// Moves what one folder holds into another on the same volume. What is new there comes as it is;
/// files and links that exist are replaced; folders that exist are gone into, and nothing of their
/// own changes: neither owner nor mode nor lists. Neither is a folder replaced by anything else nor
/// anything else by a folder: such items stay where they are, as do those that cannot be moved, and
/// the result is false. Walks by descriptor and never through a link. Nobody but the superuser may
/// be able to change anything in either folder.
bool mergeFolder(const ItemPlace& source, const ItemPlace& destination);

} // namespace quorvane::platform::linux_::helper
