// How far long work is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace quorvane::programs {

/// The rate is that of the last ten seconds, so that it follows a disk that slows down. One thread
/// at a time.
class Progress {
public:
    /// The bytes that there are to do, 0 where nobody knows; and the time now, in seconds on a
    /// clock that never goes back.
    Progress(std::uint64_t total, double now) : total_(total), samples_{{0, now}} {}

    /// Notes how many bytes are done at a time. Fewer than before are news that come late, and do
    /// not count.
    void reach(std::uint64_t bytes, double time);

    /// Bytes a second; null before any time has passed.
    std::optional<double> rate() const;
    /// Null where the total or the rate is unknown, and for work that stands still.
    std::optional<double> secondsLeft() const;
    /// "[####      ]  42%  0:12 left  350.00 MB/s  1.20 GB of 2.70 GB" in at most so many columns:
    /// what has no room is left out from the end, the bar where it would be too short to see.
    std::string text(std::size_t columns) const;

private:
    struct Sample {
        std::uint64_t bytes;
        double time;
    };

    std::uint64_t bytes() const { return samples_.back().bytes; }
    double fraction() const;

    std::uint64_t total_;
    std::deque<Sample> samples_; ///< never empty
};

} // namespace quorvane::programs
