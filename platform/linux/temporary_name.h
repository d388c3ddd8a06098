// Names for items under construction.
#pragma once

#include <string>

namespace quorvane::platform::linux_ {

/// A hidden random name, short and of its own, as the item's name may be as long as names can be.
std::string temporaryName();

} // namespace quorvane::platform::linux_
