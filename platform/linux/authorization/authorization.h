// The authorization service on Linux.
#pragma once

#include <memory>

#include "platform/Authorization.h"

namespace quorvane::platform::linux_ {

/// Grants nothing: no helper that could run tools with administrator rights is installed, so every
/// request is denied and items that need them stay where they are.
std::shared_ptr<Authorization> makeAuthorization();

} // namespace quorvane::platform::linux_
