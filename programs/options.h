// Command lines taken apart.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/Values.h"

namespace quorvane::programs {

/// Arguments that a program does not understand.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Option {
    /// With its dashes.
    std::string name;
    /// Whether the next argument belongs to it, or what follows the "=" in "--name=VALUE".
    bool takesValue = false;
    /// Is handed the value, or nothing.
    std::function<void(const std::string& value)> take;
};

/// Takes the options, which may stand anywhere before a "--", and answers the other arguments.
/// Throws UsageError.
Arguments takeOptions(const Arguments& arguments, const std::vector<Option>& options);

} // namespace quorvane::programs
