// The colour labels of items.
#pragma once

#include <optional>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// Labels are kept in this extended attribute, as one digit from "1" to "7", so that they stay with
/// an item that is copied, moved or thrown away; an item without it has none.
inline constexpr const char* kLabelAttribute = "user.quorvane.label-number";

/// As Presentation::labelNumber. Symbolic links have no label of their own, and do not show the
/// target's. What is no such digit counts as no label.
std::optional<int> readLabel(const Path& path);
/// As Presentation::setLabelNumber.
Result<void> writeLabel(const Path& path, int number);

} // namespace quorvane::platform::linux_
