// The child's side of starting a tool.
#pragma once

#include "platform/linux/spawn.h"

namespace quorvane::platform::linux_ {

/// What a child needs until it becomes the tool.
struct ChildPlan {
    const char* path = nullptr;
    char* const* arguments = nullptr;
    char* const* environment = nullptr;
    StandardDescriptors streams{};
    /// Why the child could not become the tool; 0 while it can.
    int error = 0;
};

/// Becomes the tool; comes back only when it cannot. Runs in the child, in its parent's memory and
/// on the run-time state of the parent's thread, which waits meanwhile: it makes plain system calls
/// only. All signals must be blocked.
int becomeTool(void* plan);

} // namespace quorvane::platform::linux_
