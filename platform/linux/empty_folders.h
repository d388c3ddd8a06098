// Removing folders that are left empty, and nothing else.
#pragma once

#include "platform/Values.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {

/// As FileManager::checkEmptyFolders, by descriptor and with 32 open folders at most.
Result<void> checkEmptyFolders(const Path& path);

/// As FileManager::removeEmptyFolders, in the same way. The system deletes by name, and so a
/// process that swaps a metadata file in the moment between the look at it and its deletion loses
/// what it put there, unless that is a folder. Nothing else that others do can make it delete more.
Result<void> removeEmptyFolders(const Path& path);
Result<void> removeEmptyFolders(const ItemPlace& place);

} // namespace quorvane::platform::linux_
