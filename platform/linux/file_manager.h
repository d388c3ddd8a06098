// Files and folders on Linux.
#pragma once

#include <memory>

#include "platform/FileManager.h"

namespace quorvane::platform::linux_ {

/// A file manager of the POSIX file system, without state. Slashes at the end of a path mean
/// nothing; a relative path leads nowhere (ENOENT). Written and replaced files keep the permissions
/// of the file before them, and where a link stood, the file takes the link's place.
std::unique_ptr<FileManager> makeFileManager();

} // namespace quorvane::platform::linux_
