// What the command line of qvhash asks for.
#pragma once

#include <string>
#include <vector>

#include "platform/Digests.h"
#include "platform/Values.h"

namespace quorvane::programs::qvhash {

struct Command {
    platform::DigestAlgorithm algorithm = platform::DigestAlgorithm::sha256;
    std::vector<std::string> files;
};

/// Reads `[--ALGORITHM | -a ALGORITHM] FILE…`; the last algorithm counts. Throws UsageError.
Command parseCommand(const Arguments& arguments);

} // namespace quorvane::programs::qvhash
