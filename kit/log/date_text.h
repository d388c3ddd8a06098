// Dates as the log writes them.
#pragma once

#include <chrono>
#include <string>

namespace quorvane {

/// The time in UTC, "2026-11-21 01:11:18 +0000".
std::string dateText(std::chrono::system_clock::time_point time);

/// The time now, in the same form. Formed once per second and thread; the reference holds until the
/// thread's next call.
const std::string& currentDateText();

} // namespace quorvane
