#include "programs/progress.h"

#include <optional>

#include <gtest/gtest.h>

namespace quorvane::programs {
namespace {

constexpr std::uint64_t kMiB = 1024UL * 1024;
constexpr std::uint64_t kGiB = 1024 * kMiB;

TEST(Progress, KnowsNothingAtFirst) {
    const Progress progress(100 * kMiB, 50);
    EXPECT_EQ(progress.rate(), std::nullopt);
    EXPECT_EQ(progress.secondsLeft(), std::nullopt);
    EXPECT_EQ(progress.text(80), "[                  ]    0%  0 B of 100.00 MB");
}

TEST(Progress, TellsRateAndTimeLeft) {
    Progress progress(100 * kMiB, 50);
    progress.reach(25 * kMiB, 52);
    EXPECT_EQ(progress.rate(), 12.5 * kMiB);
    EXPECT_EQ(progress.secondsLeft(), 6);
    EXPECT_EQ(progress.text(80),
              "[####              ]   25%  0:06 left  12.50 MB/s  25.00 MB of 100.00 MB");
    progress.reach(100 * kMiB, 58);
    EXPECT_EQ(progress.text(80),
              "[##################]  100%  0:00 left  12.50 MB/s  100.00 MB of 100.00 MB");
}

TEST(Progress, FollowsTheLastTenSeconds) {
    Progress progress(kGiB, 0);
    for (int second = 1; second <= 20; ++second)
        progress.reach(static_cast<std::uint64_t>(second) * 10 * kMiB, second);
    EXPECT_EQ(progress.rate(), 10.0 * kMiB);
    for (int second = 21; second <= 30; ++second)
        progress.reach(200 * kMiB + static_cast<std::uint64_t>(second - 20) * kMiB, second);
    EXPECT_EQ(progress.rate(), 1.0 * kMiB);
    EXPECT_EQ(progress.secondsLeft(), 1024 - 210);
    // However long ago the last news were.
    progress.reach(211 * kMiB, 130);
    EXPECT_EQ(progress.rate(), 0.01 * kMiB);
}

TEST(Progress, OverlooksNewsThatComeLate) {
    Progress progress(100, 0);
    progress.reach(50, 1);
    progress.reach(40, 2);
    EXPECT_EQ(progress.rate(), 50);
    EXPECT_EQ(progress.secondsLeft(), 1);
}

TEST(Progress, ThatStandsStillNeverEnds) {
    Progress progress(100, 0);
    progress.reach(50, 1);
    for (int second = 2; second <= 20; ++second) progress.reach(50, second);
    EXPECT_EQ(progress.rate(), 0);
    EXPECT_EQ(progress.secondsLeft(), std::nullopt);
    EXPECT_EQ(progress.text(80), "[#########         ]   50%  0 B/s  50 B of 100 B");
}

TEST(Progress, TellsTimesInMinutesAndHours) {
    const auto left = [](std::uint64_t seconds) {
        Progress progress(seconds + 1, 0);
        progress.reach(1, 1);
        return progress.text(19);
    };
    EXPECT_EQ(left(9), " 10%  0:09 left");
    EXPECT_EQ(left(60), "  1%  1:00 left");
    EXPECT_EQ(left(3599), "  0%  59:59 left");
    EXPECT_EQ(left(3600), "  0%  1:00:00 left");
    EXPECT_EQ(left(359'999), "  0%  99:59:59 left");
    EXPECT_EQ(left(360'000), "  0%  1 B/s");
}

TEST(Progress, TellsAHalfSecondAsOne) {
    Progress progress(30, 0);
    progress.reach(20, 1);
    EXPECT_EQ(progress.text(16), " 66%  0:01 left");
}

TEST(Progress, OfAnUnknownTotalTellsWhatIsDone) {
    Progress progress(0, 0);
    EXPECT_EQ(progress.text(80), "0 B");
    progress.reach(3 * kMiB, 2);
    EXPECT_EQ(progress.text(80), "1.50 MB/s  3.00 MB");
}

TEST(Progress, OfMoreThanTheTotalIsWhole) {
    Progress progress(10, 0);
    progress.reach(20, 1);
    EXPECT_EQ(progress.text(80), "[##################]  100%  0:00 left  20 B/s  20 B of 10 B");
}

TEST(Progress, FitsEveryWidth) {
    Progress progress(2 * kGiB, 0);
    progress.reach(kGiB, 1000);
    for (std::size_t columns = 0; columns < 300; ++columns)
        EXPECT_LE(progress.text(columns).size(), columns);
    EXPECT_EQ(progress.text(300), "[" + std::string(20, '#') + std::string(20, ' ') +
                                      "]   50%  16:40 left  1.02 MB/s  1.00 GB of 2.00 GB");
    EXPECT_EQ(progress.text(40), "[####    ]   50%  16:40 left  1.02 MB/s");
    EXPECT_EQ(progress.text(31), " 50%  16:40 left  1.02 MB/s");
    EXPECT_EQ(progress.text(10), " 50%");
    EXPECT_EQ(progress.text(3), "");
}

} // namespace
} // namespace quorvane::programs
