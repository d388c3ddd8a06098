// The handler of uncaught exceptions.
#pragma once

#include <memory>

#include "platform/Exceptions.h"

namespace quorvane::platform::linux_ {

/// Process-wide: the handler set last counts, through whichever object.
std::shared_ptr<Exceptions> makeExceptions();

} // namespace quorvane::platform::linux_
