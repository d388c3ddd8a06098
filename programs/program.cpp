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

ExitStatus carryOut(const Program& program, const Arguments& arguments) {
    ExitStatus status = ExitStatus::done;
    if (arguments == Arguments{"--help"})
        std::cout << program.usage;
    else if (arguments == Arguments{"--version"})
        std::cout << program.name << " (Quorvane) " << QUORVANE_VERSION << '\n';
    else
        status = program.body(arguments);
    if (!std::cout.flush()) throw Failure("standard output", "could not be written");
    return status;
}

} // namespace

Failure::Failure(const std::string& name, const std::string& reason)
    : Failure(name + ": " + reason) {}

int run(const Program& program, const Arguments& arguments) {
    // The log would be printed among the results, and asks for a file of the application's own.
    QVLog::sharedController().setLoggingDisabled(true);
    ExitStatus status = ExitStatus::failed;
    try {
        status = carryOut(program, arguments);
    } catch (const UsageError& error) {
        complain(program.name, error.what());
        std::cerr << program.usage;
        status = ExitStatus::wrongUsage;
    } catch (const std::exception& error) {
        complain(program.name, error.what());
    }
    return static_cast<int>(status);
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
