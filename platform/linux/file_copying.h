// Copying items and trees.
#pragma once

#include "platform/Values.h"
#include "platform/linux/file_removal.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {

/// As FileManager::copyItem. The copy is made under a hidden name beside its destination and takes
/// its own name when it is whole. Walks by descriptor, few of them open at a time. EINVAL for a
/// copy into the source itself.
Result<void> copyTree(const Path& source, const Path& destination);
Result<void> copyTree(const ItemPlace& source, const ItemPlace& destination);

/// Copies an item that will be deleted, and notes each copied part for `removeCopied`. A part that
/// the process may not delete fails the copy before it is made known.
Result<void> copyTree(const ItemPlace& source, const ItemPlace& destination, CopiedItems& copied);

} // namespace quorvane::platform::linux_
