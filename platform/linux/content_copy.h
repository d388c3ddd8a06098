// Copying what files hold.
#pragma once

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// Copies the content of an open regular file to an empty one: shared by both where the file system
/// can do that, else moved by the kernel where it can. Holes stay holes. What is written to the
/// source beyond its size at the start is not copied.
Result<void> copyContent(int source, int destination);

} // namespace quorvane::platform::linux_
