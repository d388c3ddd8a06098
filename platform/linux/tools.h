// Where command-line tools stand on Linux.
#pragma once

#include <memory>

#include "platform/Tools.h"

namespace quorvane::platform::linux_ {

enum class Superuser : bool { no, yes };

/// Tools that Linux lacks, or has with other options, are this system's own ones in a folder; one
/// that stands elsewhere is found there. For the superuser so are those that move, copy and remove:
/// the system's go into folders at the destination and across mounts. The rest stand where they are
/// named.
std::shared_ptr<Tools> makeTools(Path ownTools, Superuser superuser);

/// The same with this system's own tools where they are installed, for the process's user.
std::shared_ptr<Tools> makeTools();

} // namespace quorvane::platform::linux_
