// What the command line of qvcopy asks for.
#pragma once

#include <string>
#include <vector>

#include "kit/files/file_copy.h"
#include "platform/Values.h"

namespace quorvane::programs::qvcopy {

struct Command {
    VerificationType verification = VerificationType::none;
    std::string source;
    std::vector<std::string> destinations;
};

/// Reads `[--verify ALGORITHM] SOURCE DESTINATION…`. Throws UsageError.
Command parseCommand(const Arguments& arguments);

} // namespace quorvane::programs::qvcopy
