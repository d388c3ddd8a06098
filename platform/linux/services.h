// All services on Linux.
#pragma once

#include <memory>

#include "platform/Services.h"

namespace quorvane::platform::linux_ {

/// The Linux services around an application object: a RunLoop, or the one of a toolkit. Makes the
/// process fit for them: missing standard streams lead to the null device, and writing to a pipe
/// without a reader fails instead of ending the program.
Services makeServices(std::shared_ptr<Application> application);

} // namespace quorvane::platform::linux_
