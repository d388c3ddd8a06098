#include "programs/console_watch.h"

#include <mutex>
#include <set>
#include <string>
#include <utility>

#include "platform/ConsoleLog.h"

namespace quorvane::programs {

class ConsoleWatch::Console : public platform::ConsoleLog {
public:
    Console(std::shared_ptr<platform::ConsoleLog> next, std::shared_ptr<ProgressLine> line)
        : next_(std::move(next)), line_(std::move(line)) {}

    void log(const std::string& message) override {
        const std::lock_guard lock(mutex_);
        if (heard_.insert(message).second) line_->interrupt([&] { next_->log(message); });
    }
    bool hasHeard(std::string_view start) const {
        const std::lock_guard lock(mutex_);
        const auto found = heard_.lower_bound(start);
        return found != heard_.end() && found->starts_with(start);
    }

private:
    const std::shared_ptr<platform::ConsoleLog> next_;
    const std::shared_ptr<ProgressLine> line_;
    mutable std::mutex mutex_; ///< guards the messages
    std::set<std::string, std::less<>> heard_;
};

ConsoleWatch::ConsoleWatch(std::shared_ptr<ProgressLine> line)
    : console_(std::make_shared<Console>(platform::services().consoleLog, std::move(line))),
      services_(platform::services()) {
    services_.consoleLog = console_;
    before_ = platform::installServices(&services_);
}

ConsoleWatch::~ConsoleWatch() { platform::installServices(before_); }

bool ConsoleWatch::hasHeard(std::string_view start) const { return console_->hasHeard(start); }

} // namespace quorvane::programs
