// Looking for something in a tree.
#pragma once

#include <sys/stat.h>

#include <functional>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_::helper {

/// What is looked for: an item by its folder, its name there and its status.
using ItemTest = std::function<bool(int folder, const char* name, const struct stat& status)>;

/// Whether the test holds of an item or of anything below it. Walks by descriptor and follows no
/// link. True where something cannot be looked at, but for what is gone meanwhile.
bool holdsAny(const ItemPlace& item, const ItemTest& test);

} // namespace quorvane::platform::linux_::helper
