// Extended attributes on Linux.
#pragma once

#include <memory>

#include "platform/ExtendedAttributes.h"

namespace quorvane::platform::linux_ {

/// The attribute's whole name for the system: one that does not begin with a namespace ("user.",
/// "trusted.", "security.", "system.") stands in "user.". EINVAL where a NUL byte would cut it
/// short.
Result<std::string> attributeName(const std::string& name);

/// Extended attributes of the file system, by names as attributeName takes them.
std::shared_ptr<ExtendedAttributes> makeExtendedAttributes();

} // namespace quorvane::platform::linux_
