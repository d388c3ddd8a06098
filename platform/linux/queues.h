// Detached threads and sleeps.
#pragma once

#include <memory>

#include "platform/Queues.h"

namespace quorvane::platform::linux_ {

std::shared_ptr<Queues> makeQueues();

} // namespace quorvane::platform::linux_
