// Errors as the platform words them.
#pragma once

#include <system_error>

#include "platform/Values.h"

namespace quorvane::testing {

/// The error number with its wording, such as EPERM, "Operation not permitted".
inline platform::Error errorFor(int code) { return {code, std::generic_category().message(code)}; }

} // namespace quorvane::testing
