// Child processes on Linux, by their process descriptors.
#pragma once

#include <memory>

#include "platform/Processes.h"
#include "platform/linux/tools.h"

namespace quorvane::platform::linux_ {

/// Makes the service, which starts what stands where the tools are located. Where the program was
/// started with SIGCHLD ignored, that is undone, because the kernel would discard the children's
/// exit statuses; no handler is installed.
std::shared_ptr<Processes> makeProcesses(std::shared_ptr<Tools> tools = makeTools());

} // namespace quorvane::platform::linux_
