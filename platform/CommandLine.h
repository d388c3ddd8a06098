// What a program that is run on the command line has of its system.
#pragma once

#include <cstddef>
#include <optional>

#include "platform/Values.h"

namespace quorvane::platform {

/// Any thread.
class CommandLine {
public:
    virtual ~CommandLine() = default;
    /// The columns of the terminal that standard error leads to; null when it leads elsewhere, and
    /// in the terminal's background, where programs keep silent.
    virtual std::optional<std::size_t> terminalColumns() const = 0;
    /// Whether the program was started with a standard output, which leads where its caller says;
    /// without one, what is written there is lost.
    virtual bool hasStandardOutput() const = 0;
    /// Whether the user asked the program to end, as by Ctrl-C. Who asks a second time ends it at
    /// once.
    virtual bool isInterrupted() const = 0;
};

/// What a program does with its arguments, its own name left out; answers the exit status.
using CommandLineBody = int (*)(const Arguments& arguments, const CommandLine& commandLine);

/// The main function of programs on the command line: installs the platform's services, with an
/// application that has no windows, and answers what the body does, which runs on the main thread.
int commandLineMain(int argc, char** argv, CommandLineBody body);

} // namespace quorvane::platform
