// Where command-line tools stand on Linux.
#pragma once

#include <memory>

#include "platform/Tools.h"

namespace quorvane::platform::linux_ {

/// Tools that Linux lacks, or has with other options, are this system's own ones in a folder; one
/// that stands elsewhere is found there. The rest stand where they are named.
std::shared_ptr<Tools> makeTools(Path ownTools);

/// The same with this system's own tools where they are installed.
std::shared_ptr<Tools> makeTools();

} // namespace quorvane::platform::linux_
