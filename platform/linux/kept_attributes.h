// What a copy keeps of its source beside the content.
#pragma once

#include <sys/stat.h>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// What lets a file do more than whoever uses it may: set-id bits of files, device nodes, and the
/// attributes that only the superuser sets (file capabilities, security labels).
enum class Privileges { kept, dropped };

/// Gives a copy the owner, mode, times, extended attributes and access control lists of its source.
/// Both are open, or open as a place only (O_PATH), which is all that device nodes bear. The owner
/// stays the process's user where that may not give items away; set-id bits go then. Privileges
/// that the source's volume gives no effect are dropped in any case. What the copy's volume does
/// not keep is left out, and so are the system's own attributes where the process may not set them;
/// without its access control list a copy gives its group no more than the list did.
Result<void> keepAttributes(int source, int copy, const struct stat& status, Privileges privileges);

/// The same for a link, which has no mode.
Result<void> keepAttributesOfLink(int folder, const char* name, const struct stat& status);

/// Takes from a new item the access control lists that it has from its folder. As long as the item
/// is open to its owner only, these have no effect.
Result<void> dropInheritedLists(int item);

/// Whether the volume of an open item lets devices on it be used.
bool honoursDevices(int item);

} // namespace quorvane::platform::linux_
