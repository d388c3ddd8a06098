// Paths as the privileged helper takes them.
#pragma once

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// A plain path in which the links above the item that nobody but the superuser could have made or
/// changed are replaced by what they lead to, as in /bin/x for /usr/bin/x. A link in a folder that
/// anybody else can change, or below such a folder, stays in place, because it could lead elsewhere
/// by the time the path is used; so does whatever comes after a part that cannot be looked at. Any
/// thread.
Path linkFreePath(const Path& path);

} // namespace quorvane::platform::linux_
