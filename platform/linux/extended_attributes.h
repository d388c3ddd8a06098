// Extended attributes on Linux.
#pragma once

#include <memory>

#include "platform/ExtendedAttributes.h"

namespace quorvane::platform::linux_ {

/// Extended attributes of the file system. A name that does not begin with a namespace ("user.",
/// "trusted.", "security.", "system.") stands in "user.".
std::shared_ptr<ExtendedAttributes> makeExtendedAttributes();

} // namespace quorvane::platform::linux_
