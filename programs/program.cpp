#include "programs/program.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <system_error>

#include "kit/log/QVLog.h"
#include "programs/options.h"

namespace quorvane::programs {
namespace {

bool isControl(char each) {
    const auto byte = static_cast<unsigned char>(each);
    return byte < 0x20 || byte == 0x7F;
}

/// What the program says of itself; empty where it is asked for something else.
std::string explanation(const Program& program, const Arguments& arguments) {
    if (arguments == Arguments{"--help"}) return program.usage;
    if (arguments == Arguments{"--version"})
        return program.name + " (Quorvane) " + QUORVANE_VERSION + '\n';
    return {};
}

ExitStatus carryOut(const Program& program, const Arguments& arguments,
                    const platform::CommandLine& commandLine) {
    ExitStatus status = ExitStatus::done;
    const std::string text = explanation(program, arguments);
    if (text.empty()) {
        status = program.body(arguments);
    } else {
        needStandardOutput(commandLine);
        std::cout << text;
    }
    if (!std::cout.flush()) throw Failure("standard output", "could not be written");
    return status;
}

} // namespace

Failure::Failure(const std::string& name, const std::string& reason, ExitStatus end)
    : std::runtime_error(name + ": " + reason), status(end) {}

int run(const Program& program, const Arguments& arguments,
        const platform::CommandLine& commandLine) {
    // The log would be printed among the results, and asks for a file of the application's own.
    QVLog::sharedController().setLoggingDisabled(true);
    ExitStatus status = ExitStatus::failed;
    try {
        status = carryOut(program, arguments, commandLine);
    } catch (const UsageError& error) {
        complain(program.name, error.what());
        std::cerr << program.usage;
        status = ExitStatus::wrongUsage;
    } catch (const Failure& failure) {
        complain(program.name, failure.what());
        status = failure.status;
    } catch (const std::exception& error) {
        complain(program.name, error.what());
    }
    return static_cast<int>(status);
}

void needStandardOutput(const platform::CommandLine& commandLine) {
    if (!commandLine.hasStandardOutput()) throw Failure("standard output", "is closed");
}

void complain(const std::string& program, const std::string& text) {
    std::string shown = text;
    std::ranges::replace_if(shown, isControl, '?');
    std::cerr << program + ": " + shown + '\n';
}

Path absolutePath(const std::string& name) {
    if (name.empty()) throw Failure("\"\"", std::generic_category().message(ENOENT));
    std::error_code error;
    const std::filesystem::path path = std::filesystem::absolute(name, error);
    if (error) throw Failure(name, error.message());
    return path;
}

} // namespace quorvane::programs
