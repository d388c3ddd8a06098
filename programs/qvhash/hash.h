// The program qvhash.
#pragma once

#include <ostream>

#include "platform/CommandLine.h"
#include "programs/program.h"
#include "programs/qvhash/command.h"

namespace quorvane::programs::qvhash {

inline constexpr const char* kName = "qvhash";

/// Prints the digests, with progress on standard error. A file that fails is complained of, and the
/// others follow, unless the output takes no more. Throws Failure where there is no output.
ExitStatus hash(const Command& command, const platform::CommandLine& commandLine,
                std::ostream& output);

} // namespace quorvane::programs::qvhash
