// Folders held open, so that what is done in them cannot be led elsewhere by a swapped path.
#pragma once

#include "platform/Values.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {

enum class LastLink : bool { keep, follow };

/// Opens a folder for look-ups below it. Without following, a link in its place is ENOTDIR.
/// Relative names start at the parent. Any thread, like all here.
Descriptor openFolder(int parent, const char* name, LastLink lastLink);
/// The same, never following, for a folder that is made for its user alone if missing.
Descriptor openOrMakeFolder(int parent, const char* name);
/// Makes a folder, and the missing ones above it, for their user alone. An existing one is success.
bool makeFolders(const Path& path);

/// The open folder's path without links.
Result<Path> pathOf(int folder);
/// The highest folder on the mount that holds the open folder.
Descriptor topOfMount(int folder);

} // namespace quorvane::platform::linux_
