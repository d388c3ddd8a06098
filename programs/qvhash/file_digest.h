// The digest of one file, with progress.
#pragma once

#include <memory>

#include "platform/CommandLine.h"
#include "platform/Digests.h"
#include "platform/Values.h"
#include "programs/progress_line.h"

namespace quorvane::programs::qvhash {

struct FileDigest {
    /// Null when the file could not be read to its end, or the user cancelled.
    MaybeText text;
    bool isCancelled = false;
};

/// Hashes a file. The line is told every 50 MiB, and the user asked whether to go on.
FileDigest digestOf(const Path& file, platform::DigestAlgorithm algorithm,
                    const std::shared_ptr<ProgressLine>& line,
                    const platform::CommandLine& commandLine);

} // namespace quorvane::programs::qvhash
