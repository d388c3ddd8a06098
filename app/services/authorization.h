// Administrator rights that are asked for once, to move items and remove empty folders.
#pragma once

#include <memory>

#include "app/services/failure_reasons.h"
#include "platform/Authorization.h"

namespace brightkeel {

/// The given service, but the first answer to the question for rights holds: cancelled, denied or
/// nobody to ask, it is given again at once, without asking. A granted right is not asked for a
/// second time either, whatever becomes of the session: one that has broken, or did not answer
/// once, is used no more. With it items are moved, and in the stead of rm empty folders removed;
/// every other tool is refused with EPERM. The reasons of all failures are noted.
std::shared_ptr<quorvane::platform::Authorization>
askedOnce(std::shared_ptr<quorvane::platform::Authorization> authorization,
          std::shared_ptr<FailureReasons> reasons);

} // namespace brightkeel
