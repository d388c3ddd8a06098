#include "kit/log/date_text.h"

#include <chrono>

#include <gtest/gtest.h>

namespace quorvane {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::system_clock;

TEST(DateText, IsInUtc) {
    const auto day = std::chrono::sys_days(std::chrono::year_month_day(2026y / 11 / 21));
    EXPECT_EQ(dateText(day + 1h + 11min + 18s + 999ms), "2026-11-21 01:11:18 +0000");
    EXPECT_EQ(dateText(std::chrono::sys_days(1999y / 12 / 31) + 23h + 59min + 59s),
              "1999-12-31 23:59:59 +0000");
    EXPECT_EQ(dateText(Clock::time_point() - 1s), "1969-12-31 23:59:59 +0000");
}

TEST(DateText, TellsTheTimeNow) {
    const Clock::time_point before = Clock::now();
    const std::string& text = currentDateText();
    EXPECT_GE(text, dateText(before));
    EXPECT_LE(text, dateText(Clock::now()));
}

} // namespace
} // namespace quorvane
