#include "platform/linux/console_log.h"

#include <syslog.h>
#include <unistd.h>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

bool isControl(unsigned char byte) { return byte < 0x20 || byte == 0x7f; }

/// Whether two bytes are a control character of UTF-8, which terminals obey like those of ASCII.
bool areControl(unsigned char first, unsigned char second) {
    return first == 0xc2 && second >= 0x80 && second < 0xa0;
}

/// With spaces in their stead: whatever names of files it holds, a message never passes for
/// several, and says nothing to a terminal.
std::string withoutControls(std::string text) {
    for (std::size_t index = 0; index < text.size(); ++index) {
        const auto byte = static_cast<unsigned char>(text[index]);
        const bool hasNext = index + 1 < text.size();
        if (isControl(byte))
            text[index] = ' ';
        else if (hasNext && areControl(byte, static_cast<unsigned char>(text[index + 1])))
            text[index] = text[index + 1] = ' ';
    }
    return text;
}

class SystemConsoleLog : public ConsoleLog {
public:
    void log(const std::string& message) override {
        std::string line = withoutControls(message);
        ::syslog(LOG_USER | LOG_NOTICE, "%s", line.c_str());
        line += '\n';
        // One write, so that lines of threads and children do not mix.
        (void)retryInterrupted([&] { return ::write(STDERR_FILENO, line.data(), line.size()); });
    }
};

} // namespace

std::shared_ptr<ConsoleLog> makeConsoleLog() { return std::make_shared<SystemConsoleLog>(); }

} // namespace quorvane::platform::linux_
