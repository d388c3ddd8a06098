// All services on Linux.
#pragma once

#include <memory>

#include "platform/Services.h"

namespace quorvane::platform::linux_ {

/// The Linux services around an application object: a RunLoop, or the one of a toolkit.
Services makeServices(std::shared_ptr<Application> application);

} // namespace quorvane::platform::linux_
