#include "platform/CommandLine.h"

#include <algorithm>
#include <memory>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "platform/Services.h"
#include "platform/linux/interruption.h"
#include "platform/linux/run_loop.h"
#include "platform/linux/services.h"

namespace quorvane::platform {
namespace {

/// Of terminals that do not tell their own.
constexpr std::size_t kUsualColumns = 80;

bool isInBackground() {
    const pid_t foreground = tcgetpgrp(STDERR_FILENO);
    return foreground != -1 && foreground != getpgrp();
}

class LinuxCommandLine : public CommandLine {
public:
    /// Before the services are made, which fill what is missing of the standard streams.
    LinuxCommandLine() { linux_::watchForInterruption(); }

    std::optional<std::size_t> terminalColumns() const override {
        if (isatty(STDERR_FILENO) == 0 || isInBackground()) return std::nullopt;
        winsize size{};
        if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsualColumns;
        return size.ws_col;
    }
    bool hasStandardOutput() const override { return hasStandardOutput_; }
    bool isInterrupted() const override { return linux_::isInterrupted(); }

private:
    const bool hasStandardOutput_ = fcntl(STDOUT_FILENO, F_GETFD) != -1;
};

} // namespace

int commandLineMain(int argc, char** argv, CommandLineBody body) {
    // They stay for good: threads that nobody joins may use them until the process ends.
    static const auto& commandLine = *new LinuxCommandLine();
    static const auto& services =
        *new Services(linux_::makeServices(std::make_shared<linux_::RunLoop>()));
    installServices(&services);
    return body(Arguments(argv + std::min(argc, 1), argv + argc), commandLine);
}

} // namespace quorvane::platform
