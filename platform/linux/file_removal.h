// Deleting items and trees.
#pragma once

#include "platform/Values.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {

/// Deletes an item, a folder with all below it. Walks by descriptor, so that neither the depth of a
/// tree nor a folder that is swapped for a link meanwhile leads astray. What another process
/// deletes meanwhile counts as deleted. A folder where another file system is mounted is EBUSY, and
/// nothing on that file system is touched.
Result<void> removeTree(const Path& path);
Result<void> removeTree(const ItemPlace& place);

/// The same for what the process made itself, whatever the modes of its folders are by now.
Result<void> removeUnfinished(const ItemPlace& place);

/// What keeps the process from deleting an item, as far as the item itself and its folder tell;
/// EBUSY for what is mounted there.
Result<void> checkRemovable(int folder, const char* name);

} // namespace quorvane::platform::linux_
