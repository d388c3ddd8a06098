// Looking through trees.
#pragma once

#include "platform/FileManager.h"

namespace quorvane::platform::linux_ {

/// As FileManager::walkTree, with 32 open folders at most, and one more for each link on the way.
Result<void> walkTree(const Path& folder, ItemSizes sizes, TreeVisitor& visitor);

} // namespace quorvane::platform::linux_
