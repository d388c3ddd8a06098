#include "platform/linux/tools/program.h"

#include <filesystem>
#include <iostream>

#include <sys/stat.h>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_::tools {

Failure::Failure(const Path& item, const std::string& reason)
    : Failure(item.empty() ? reason : item + ": " + reason) {}

Failure::Failure(const Path& item, const Error& error) : Failure(item, error.text) {}

void Report::note(const Path& item, const std::string& text) {
    output_ << tool_ << ": " << item << ": " << text << '\n';
}

void Report::failure(const Path& item, const std::string& reason) {
    note(item, reason);
    hasFailed_ = true;
}

int run(const Program& program, int count, const char* const* texts) {
    const Arguments arguments(texts + std::min(count, 1), texts + count);
    Report report(program.name, std::cerr);
    try {
        if (arguments == Arguments{"--help"}) {
            std::cout << program.usage;
        } else {
            program.body(arguments, report);
        }
        if (!std::cout.flush()) throw Failure("standard output", systemError());
    } catch (const UsageError& error) {
        std::cerr << program.name << ": " << error.what() << '\n' << program.usage;
        return kWrongUsage;
    } catch (const std::exception& error) {
        std::cerr << program.name << ": " << error.what() << '\n';
        return kFailed;
    }
    return report.hasFailed() ? kFailed : kDone;
}

Path absolutePath(const Path& path) {
    if (path.empty()) throw Failure("\"\"", systemError(ENOENT));
    return std::filesystem::absolute(path);
}

mode_t withoutMask(mode_t permissions) {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return permissions & ~mask;
}

} // namespace quorvane::platform::linux_::tools
