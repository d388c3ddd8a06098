// Running programs and seeing what they say.
#pragma once

#include <optional>
#include <string>

#include "platform/Values.h"

namespace quorvane::testing {

struct ToolRun {
    /// The exit status; the negative number of the signal that ended it.
    int status = 0;
    std::string output;
    std::string error;
};

/// Runs a program to its end, in a folder if one is given. A test fails where it cannot be started.
ToolRun runTool(const Path& program, const Arguments& arguments,
                const std::optional<Path>& folder = std::nullopt);

/// Runs a script of Python with arguments, and fails the test if it fails.
std::string runPython(const std::string& script, const Arguments& arguments);

} // namespace quorvane::testing
