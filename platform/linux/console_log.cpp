#include "platform/linux/console_log.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

class SystemConsoleLog : public ConsoleLog {
public:
    void log(const std::string& message) override {
        std::string line = message;
        // A message never passes for several, whatever names of files it holds.
        std::replace(line.begin(), line.end(), '\n', ' ');
        ::syslog(LOG_USER | LOG_NOTICE, "%s", line.c_str());
        line += '\n';
        // One write, so that lines of threads and children do not mix.
        (void)retryInterrupted([&] { return ::write(STDERR_FILENO, line.data(), line.size()); });
    }
};

} // namespace

std::shared_ptr<ConsoleLog> makeConsoleLog() { return std::make_shared<SystemConsoleLog>(); }

} // namespace quorvane::platform::linux_
