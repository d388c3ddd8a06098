// The program qvcopy.
#pragma once

#include <ostream>

#include "platform/CommandLine.h"
#include "programs/program.h"
#include "programs/qvcopy/command.h"

namespace quorvane::programs::qvcopy {

inline constexpr const char* kName = "qvcopy";

/// Copies, with progress on standard error, and prints the digests of what was verified. A source
/// that fails is complained of, and the others follow, unless the output takes no more. Throws
/// Failure where nothing was begun. Returns the worst that came of a source.
ExitStatus copy(const Command& command, const platform::CommandLine& commandLine,
                std::ostream& output);

} // namespace quorvane::programs::qvcopy
