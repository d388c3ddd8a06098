// References to items that outlive a change of their names.
#pragma once

#include "platform/Presentation.h"

namespace quorvane::platform::linux_ {

/// As Presentation::fileReference. The path is kept as it was given, any bytes, without slashes at
/// its end.
Result<FileReference> makeFileReference(const Path& path);

/// Where the item is: at its path, or in the same folder under another name; where neither is so,
/// the path, if something else stands there by now, as after saving a document through a temporary
/// file. An item that left its folder is ENOENT: the system opens items by number for the superuser
/// alone. Looks through the folder only when the item is not at its path.
Result<Path> pathOfReference(const FileReference& reference);

} // namespace quorvane::platform::linux_
