#include "programs/progress_line.h"

#include <iostream>
#include <string>

#include "platform/Queues.h"
#include "platform/Services.h"

namespace quorvane::programs {
namespace {

constexpr double kLeastSeconds = 0.1;
/// What a terminal shows behind the line when the user cancels.
constexpr std::size_t kEcho = 2; // "^C"

} // namespace

void ProgressLine::reached(std::uint64_t bytes) {
    const std::lock_guard lock(mutex_);
    if (finished_) return;
    const double now = clock_();
    progress_.reach(bytes, now);
    if (drawn_ && now - *drawn_ < kLeastSeconds) return;
    const std::optional<std::size_t> columns = commandLine_.terminalColumns();
    if (!columns) return;
    drawn_ = now;
    draw(*columns);
}

void ProgressLine::interrupt(const std::function<void()>& write) {
    const std::lock_guard lock(mutex_);
    clear();
    write();
}

void ProgressLine::finish() {
    const std::lock_guard lock(mutex_);
    clear();
    finished_ = true;
}

/// Stays clear of the last column, behind which some terminals begin the next line. One write: a
/// terminal drops what it has not shown when the user cancels, and half a line would stay.
void ProgressLine::draw(std::size_t columns) {
    const std::size_t room = columns > kEcho + 1 ? columns - kEcho - 1 : 0;
    const std::string text = progress_.text(room);
    const std::string rest(shown_ > text.size() ? shown_ - text.size() : 0, ' ');
    stream_ << "\r" + text + rest << std::flush;
    shown_ = text.size() + rest.size();
}

/// Spaces are understood by every terminal.
void ProgressLine::clear() {
    if (shown_ == 0) return;
    stream_ << "\r" + std::string(shown_ + kEcho, ' ') + "\r" << std::flush;
    shown_ = 0;
}

std::shared_ptr<ProgressLine> progressLine(std::uint64_t total,
                                           const platform::CommandLine& commandLine) {
    return std::make_shared<ProgressLine>(
        total, commandLine, std::cerr,
        [queues = platform::services().queues] { return queues->uptime(); });
}

} // namespace quorvane::programs
