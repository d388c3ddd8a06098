// Copying items and trees.
#pragma once

#include "platform/Values.h"
#include "platform/linux/file_removal.h"
#include "platform/linux/kept_attributes.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {

/// As FileManager::copyItem. The copy is made under a hidden name beside its destination and takes
/// its own name when it is whole. Walks by descriptor, few of them open at a time. The copy has the
/// source's access control lists or none, and never those of its folder. What has no effect on the
/// source's volume has none in the copy: set-id bits and the like are left out, devices are EPERM.
/// EINVAL for a copy into the source itself, also where only another mount leads into it.
Result<void> copyTree(const Path& source, const Path& destination);
/// The same as if the source's volume gave privileges no effect, where they are to be dropped.
Result<void> copyTree(const ItemPlace& source, const ItemPlace& destination,
                      Privileges privileges = Privileges::kept);

/// Copies an item that will be deleted, and notes each copied part for `removeCopied`. A part that
/// the process may not delete fails the copy before it is made known.
Result<void> copyTree(const ItemPlace& source, const ItemPlace& destination, CopiedItems& copied,
                      Privileges privileges = Privileges::kept);

} // namespace quorvane::platform::linux_
