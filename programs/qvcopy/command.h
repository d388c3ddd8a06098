// What the command line of qvcopy asks for.
#pragma once

#include <string>
#include <vector>

#include "kit/files/file_copy.h"
#include "platform/Values.h"

namespace quorvane::programs::qvcopy {

struct Command {
    VerificationType verification = VerificationType::none;
    /// Whether files that are there get new content.
    bool replaces = false;
    /// Whether the destinations are named as folders; else there is one, which may be a file.
    bool toFolders = false;
    std::vector<std::string> sources;
    std::vector<std::string> destinations;
};

/// Reads `[OPTION]… SOURCE DESTINATION`, `[OPTION]… SOURCE… FOLDER` and
/// `[OPTION]… --to FOLDER… SOURCE…`. Throws UsageError.
Command parseCommand(const Arguments& arguments);

} // namespace quorvane::programs::qvcopy
