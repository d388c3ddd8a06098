// The line of a terminal that shows how far the program is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <utility>

#include "platform/CommandLine.h"
#include "programs/progress.h"

namespace quorvane::programs {

/// Redraws the terminal's last line in place, at most ten times a second; without a terminal it
/// writes nothing. Any thread: news come on threads of the concurrent queue, and may come late.
class ProgressLine {
public:
    /// Answers seconds, and never goes back.
    using Clock = std::function<double()>;

    /// The bytes that there are to do, 0 where nobody knows; the command line and the stream, which
    /// leads where the command line knows a terminal, must outlive it.
    ProgressLine(std::uint64_t total, const platform::CommandLine& commandLine,
                 std::ostream& stream, Clock clock)
        : progress_(total, clock()), commandLine_(commandLine), stream_(stream),
          clock_(std::move(clock)) {}

    void reached(std::uint64_t bytes);
    /// Takes the line off, for something else to be written in its place.
    void interrupt(const std::function<void()>& write);
    /// Takes the line off for good.
    void finish();

private:
    void draw(std::size_t columns);
    void clear();

    std::mutex mutex_;
    Progress progress_;
    const platform::CommandLine& commandLine_;
    std::ostream& stream_;
    const Clock clock_;
    std::optional<double> drawn_; ///< when last
    std::size_t shown_ = 0;       ///< columns
    bool finished_ = false;
};

/// A line on standard error, by the clock of the system.
std::shared_ptr<ProgressLine> progressLine(std::uint64_t total,
                                           const platform::CommandLine& commandLine);

} // namespace quorvane::programs
