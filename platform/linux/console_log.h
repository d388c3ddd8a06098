// The console log on Linux: the system log, and standard error.
#pragma once

#include <memory>

#include "platform/ConsoleLog.h"

namespace quorvane::platform::linux_ {

std::shared_ptr<ConsoleLog> makeConsoleLog();

} // namespace quorvane::platform::linux_
