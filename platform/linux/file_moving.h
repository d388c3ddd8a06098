// Renaming items without replacing others.
#pragma once

#include "platform/Values.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {

/// As FileManager::moveItem. EBUSY, beforehand, where a mount would be taken along. ESTALE where
/// the source changed while it was copied onto another volume: what is new stays there, beside the
/// whole copy.
Result<void> moveTree(const Path& source, const Path& destination);

/// The same within one volume; EXDEV onto another.
Result<void> renameItem(const ItemPlace& source, const ItemPlace& destination);

/// The same for file systems that cannot refuse to replace: takes the free name with an empty item
/// first, which fails with EEXIST where there is one, and then renames onto that.
Result<void> renameOntoPlaceholder(const ItemPlace& source, const ItemPlace& destination);

} // namespace quorvane::platform::linux_
