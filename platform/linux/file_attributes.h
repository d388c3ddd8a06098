// Attributes of items.
#pragma once

#include "platform/FileManager.h"

namespace quorvane::platform::linux_ {

/// No system call sets the time at which a file was made, so a creation date that is set is kept in
/// this extended attribute: a decimal count of nanoseconds since the start of 1970, UTC. It stands
/// above the file system's own birth time; a value that is no number does not count.
inline constexpr const char* kCreationDateAttribute = "user.quorvane.creation-date";

/// As FileManager::attributes. Immutable is the inode flag that `chattr +i` sets; it is absent
/// where the file system has no such flag. Opens nothing.
Result<ItemAttributes> readAttributes(const Path& path);

/// As FileManager::setAttributes. Clearing the immutable flag of what has none, such as a link, a
/// device or any item of a file system without flags, is success; setting it there is EOPNOTSUPP.
Result<void> changeAttributes(const Path& path, const AttributeChanges& changes);

} // namespace quorvane::platform::linux_
