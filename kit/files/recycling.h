// The workspace's own way into the Trash.
#pragma once

#include "platform/Values.h"

namespace quorvane {

/// Recycles an item, without any fallback. Answers whether it went.
bool recycle(const Path& item);

} // namespace quorvane
