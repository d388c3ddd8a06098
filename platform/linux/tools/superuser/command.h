// File operations of a process that is the superuser itself, as the privileged helper does them for
// others.
#pragma once

#include <optional>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {
class Trash;
}

namespace quorvane::platform::linux_::tools::superuser {

/// Carries out a command that the kit gives to /bin/rm, /bin/mv or /bin/cp. As with the helper,
/// nothing is moved or copied into a folder that stands at the destination, nothing that is mounted
/// is removed or taken along, and nothing in the Trash is replaced. Folders are protected by the
/// kit's own guard alone. Returns the exit status, or why nothing was done; null for any other
/// command, which is the system's tool's business.
std::optional<Result<int>> perform(const Path& tool, const Arguments& arguments, Trash& trash);

} // namespace quorvane::platform::linux_::tools::superuser
