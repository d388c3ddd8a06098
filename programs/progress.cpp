#include "programs/progress.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "kit/files/QVFileManager.h"

namespace quorvane::programs {
namespace {

constexpr double kRatedSeconds = 10;
/// Times above it tell nothing: four days.
constexpr double kMostSeconds = 100.0 * 3600;
constexpr std::size_t kLeastBar = 8;
constexpr std::size_t kMostBar = 42;

std::string sizeText(std::uint64_t bytes) {
    return QVFileManager::formatFileSize(static_cast<double>(bytes));
}

std::string twoDigits(long number) { return (number < 10 ? "0" : "") + std::to_string(number); }

/// "0:09", "12:30" and "1:02:03".
std::string timeText(double time) {
    const auto seconds = static_cast<long>(std::ceil(time));
    const long minutes = seconds / 60;
    const std::string end = ":" + twoDigits(seconds % 60);
    if (minutes < 60) return std::to_string(minutes) + end;
    return std::to_string(minutes / 60) + ":" + twoDigits(minutes % 60) + end;
}

std::string percentText(double fraction) {
    const std::string number = std::to_string(static_cast<int>(fraction * 100));
    return std::string(3 - number.size(), ' ') + number + "%";
}

std::string bar(double fraction, std::size_t columns) {
    const std::size_t inner = columns - 2;
    const auto full = static_cast<std::size_t>(fraction * static_cast<double>(inner));
    return "[" + std::string(full, '#') + std::string(inner - full, ' ') + "]";
}

/// As many of the parts as there is room for.
std::string joined(const std::vector<std::string>& parts, std::size_t columns) {
    std::string text;
    for (const std::string& part : parts) {
        const std::string gap = text.empty() ? "" : "  ";
        if (text.size() + gap.size() + part.size() > columns) break;
        text.append(gap).append(part);
    }
    return text;
}

} // namespace

void Progress::reach(std::uint64_t bytes, double time) {
    if (bytes < this->bytes()) return;
    samples_.push_back({bytes, time});
    while (samples_.size() > 2 && time - samples_[1].time >= kRatedSeconds) samples_.pop_front();
}

std::optional<double> Progress::rate() const {
    const Sample& first = samples_.front();
    const Sample& last = samples_.back();
    if (!(last.time > first.time)) return std::nullopt;
    return static_cast<double>(last.bytes - first.bytes) / (last.time - first.time);
}

std::optional<double> Progress::secondsLeft() const {
    const std::optional<double> speed = rate();
    if (!speed || *speed <= 0 || total_ == 0) return std::nullopt;
    return static_cast<double>(total_ - std::min(total_, bytes())) / *speed;
}

double Progress::fraction() const {
    return std::min(1.0, static_cast<double>(bytes()) / static_cast<double>(total_));
}

std::string Progress::text(std::size_t columns) const {
    const bool isKnown = total_ > 0;
    const std::size_t barColumns = isKnown ? std::min(columns / 4, kMostBar) : 0;
    std::vector<std::string> parts;
    if (barColumns >= kLeastBar) parts.push_back(bar(fraction(), barColumns));
    if (isKnown) parts.push_back(percentText(fraction()));
    if (const auto left = secondsLeft(); left && *left < kMostSeconds)
        parts.push_back(timeText(*left) + " left");
    if (const auto speed = rate()) parts.push_back(QVFileManager::formatFileSize(*speed) + "/s");
    parts.push_back(sizeText(bytes()) + (isKnown ? " of " + sizeText(total_) : ""));
    return joined(parts, columns);
}

} // namespace quorvane::programs
