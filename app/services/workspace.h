// A workspace that tells why an item did not go to the Trash.
#pragma once

#include <memory>

#include "app/services/failure_reasons.h"
#include "platform/Workspace.h"

namespace brightkeel {

/// The given workspace, with its reasons noted.
std::shared_ptr<quorvane::platform::Workspace>
withReasons(std::shared_ptr<quorvane::platform::Workspace> workspace,
            std::shared_ptr<FailureReasons> reasons);

} // namespace brightkeel
