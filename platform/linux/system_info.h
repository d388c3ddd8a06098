// Facts about the machine and the running program.
#pragma once

#include <memory>

#include "platform/SystemInfo.h"

namespace quorvane::platform::linux_ {

std::shared_ptr<SystemInfo> makeSystemInfo();

} // namespace quorvane::platform::linux_
