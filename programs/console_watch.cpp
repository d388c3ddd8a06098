#include "programs/console_watch.h"

#include <algorithm>
#include <mutex>
#include <set>
#include <string>
#include <utility>

#include "platform/ConsoleLog.h"

namespace quorvane::programs {
namespace {

/// Tells what ends a copy from what befalls one destination of it.
bool isReason(const std::string& message) {
    return message.ends_with(" Aborting copy process...") ||
           message.starts_with("Error: copied file size does not match original source ");
}

} // namespace

class ConsoleWatch::Console : public platform::ConsoleLog {
public:
    Console(std::shared_ptr<platform::ConsoleLog> next, std::shared_ptr<ProgressLine> line)
        : next_(std::move(next)), line_(std::move(line)) {}

    void log(const std::string& message) override {
        // Unlocked by then: whoever has interrupted the line asks what was heard.
        if (hear(message)) line_->interrupt([&] { next_->log(message); });
    }
    bool hasHeard(const std::string& message) const {
        const std::lock_guard lock(mutex_);
        return heard_.contains(message);
    }
    bool hasHeardWhyItFailed() const {
        const std::lock_guard lock(mutex_);
        return std::ranges::any_of(heard_, isReason);
    }

private:
    /// Whether it is new.
    bool hear(const std::string& message) {
        const std::lock_guard lock(mutex_);
        return heard_.insert(message).second;
    }

    const std::shared_ptr<platform::ConsoleLog> next_;
    const std::shared_ptr<ProgressLine> line_;
    mutable std::mutex mutex_; ///< guards the messages
    std::set<std::string> heard_;
};

ConsoleWatch::ConsoleWatch(std::shared_ptr<ProgressLine> line)
    : console_(std::make_shared<Console>(platform::services().consoleLog, std::move(line))),
      services_(platform::services()) {
    services_.consoleLog = console_;
    before_ = platform::installServices(&services_);
}

ConsoleWatch::~ConsoleWatch() { platform::installServices(before_); }

bool ConsoleWatch::hasHeard(const std::string& message) const {
    return console_->hasHeard(message);
}

bool ConsoleWatch::hasHeardWhyItFailed() const { return console_->hasHeardWhyItFailed(); }

} // namespace quorvane::programs
