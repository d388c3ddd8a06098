// What the programs share: how they start, complain and end.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

#include "platform/CommandLine.h"
#include "platform/Values.h"

namespace quorvane::programs {

/// How a program ends. The number for wrong usage is the one of BSD's sysexits, that for a
/// cancelled run what shells answer for a program that Ctrl-C ended. A folder where a file belongs,
/// or the other way round, has the number of a copy that differs.
enum class ExitStatus : int {
    done = 0,
    failed = 1,
    differs = 2,
    wrongKind = 2,
    wrongUsage = 64,
    cancelled = 130
};

/// What keeps a program from going on.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
    /// "NAME: REASON".
    Failure(const std::string& name, const std::string& reason,
            ExitStatus end = ExitStatus::failed);

    ExitStatus status = ExitStatus::failed;
};

struct Program {
    std::string name;
    /// What --help prints; ends with a line break.
    std::string usage;
    /// Prints results on standard output; throws UsageError or Failure.
    std::function<ExitStatus(const Arguments& arguments)> body;
};

/// Runs a program with the kit's log disabled and returns its exit status. Understands --help and
/// --version. Results that standard output does not take, such as on a full disk, are a failure.
int run(const Program& program, const Arguments& arguments,
        const platform::CommandLine& commandLine);

/// Throws Failure where results would be lost because the program has no standard output. To be
/// called before the work that brings them.
void needStandardOutput(const platform::CommandLine& commandLine);

/// Writes "PROGRAM: TEXT" to standard error, with a "?" for each control character, so that no name
/// of a file passes for another line or commands the terminal.
void complain(const std::string& program, const std::string& text);

/// An absolute path to what a command line names, links and ".." parts as they stand. Throws
/// Failure for an empty name, and where the folder that the program runs in is gone.
Path absolutePath(const std::string& name);

} // namespace quorvane::programs
