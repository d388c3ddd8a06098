// Child processes on Linux, by their process descriptors.
#pragma once

#include <memory>

#include "platform/Processes.h"

namespace quorvane::platform::linux_ {

/// Makes the service. Where the program was started with SIGCHLD ignored, that is undone, because
/// the kernel would discard the children's exit statuses; no handler is installed.
std::shared_ptr<Processes> makeProcesses();

} // namespace quorvane::platform::linux_
