#include "kit/log/date_text.h"

#include "kit/base/format.h"

namespace quorvane {

std::string dateText(std::chrono::system_clock::time_point time) {
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(std::chrono::floor<std::chrono::seconds>(time - day));
    return formatText("%04d-%02u-%02u %02ld:%02ld:%02ld +0000",
                      {static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                       static_cast<unsigned>(date.day()), clock.hours().count(),
                       clock.minutes().count(), clock.seconds().count()});
}

const std::string& currentDateText() {
    using Seconds = std::chrono::sys_seconds;
    thread_local Seconds last = Seconds::min();
    thread_local std::string text;
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    if (now != last) {
        text = dateText(now);
        last = now;
    }
    return text;
}

} // namespace quorvane
