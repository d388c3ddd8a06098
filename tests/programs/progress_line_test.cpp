#include "programs/progress_line.h"

#include <sstream>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/programs/fake_command_line.h"

namespace quorvane::programs {
namespace {

using ::testing::EndsWith;

class ShownProgress : public ::testing::Test {
protected:
    ShownProgress() { commandLine_.columns = 23; }

    /// What was written since the last call.
    std::string written() {
        const std::string text = stream_.str();
        stream_.str({});
        return text;
    }

    testing::FakeCommandLine commandLine_;
    std::ostringstream stream_;
    double now_ = 0;
    ProgressLine line_{100, commandLine_, stream_, [this] { return now_; }};
};

TEST_F(ShownProgress, IsRedrawnInPlace) {
    line_.reached(0);
    EXPECT_EQ(written(), "\r  0%  0 B of 100 B");
    now_ = 1;
    line_.reached(50);
    EXPECT_EQ(written(), "\r 50%  0:01 left   ");
}

TEST_F(ShownProgress, IsRedrawnTenTimesASecondAtMost) {
    line_.reached(0);
    written();
    for (; now_ < 0.0999; now_ += 0.01) line_.reached(10);
    EXPECT_EQ(written(), "");
    now_ = 0.11;
    line_.reached(11);
    EXPECT_EQ(written(), "\r 11%  0:01 left   ");
}

TEST_F(ShownProgress, KeepsOffTheLastColumns) {
    commandLine_.columns = 21;
    line_.reached(0);
    EXPECT_EQ(written(), "\r  0%  0 B of 100 B");
    commandLine_.columns = 20;
    now_ = 1;
    line_.reached(0);
    EXPECT_EQ(written(), "\r  0%  0 B/s       ");
    for (std::size_t columns = 0; columns < 4; ++columns) {
        commandLine_.columns = columns;
        now_ += 1;
        line_.reached(0);
    }
}

TEST_F(ShownProgress, MakesRoomForMessages) {
    line_.reached(0);
    written();
    line_.interrupt([this] { stream_ << "message\n"; });
    EXPECT_EQ(written(), "\r" + std::string(20, ' ') + "\rmessage\n");
    line_.interrupt([this] { stream_ << "message\n"; });
    EXPECT_EQ(written(), "message\n");
    now_ = 1;
    line_.reached(50);
    EXPECT_EQ(written(), "\r 50%  0:01 left");
}

TEST_F(ShownProgress, IsTakenOffForGood) {
    line_.reached(0);
    written();
    line_.finish();
    EXPECT_EQ(written(), "\r" + std::string(20, ' ') + "\r");
    now_ = 1;
    line_.reached(50);
    line_.finish();
    EXPECT_EQ(written(), "");
}

TEST_F(ShownProgress, NeedsATerminal) {
    commandLine_.columns = std::nullopt;
    line_.reached(0);
    line_.interrupt([this] { stream_ << "message\n"; });
    line_.finish();
    EXPECT_EQ(written(), "message\n");
}

TEST_F(ShownProgress, ReturnsWithTheTerminal) {
    commandLine_.columns = std::nullopt;
    line_.reached(0);
    commandLine_.columns = 23;
    line_.reached(0);
    EXPECT_EQ(written(), "\r  0%  0 B of 100 B");
}

TEST_F(ShownProgress, MayBeToldByManyThreads) {
    const auto tell = [this](std::uint64_t first) {
        for (std::uint64_t bytes = first; bytes <= 100; bytes += 4) line_.reached(bytes);
    };
    std::vector<std::thread> threads;
    for (std::uint64_t first = 0; first < 4; ++first) threads.emplace_back(tell, first);
    for (std::thread& thread : threads) thread.join();
    now_ = 10;
    line_.reached(100);
    EXPECT_THAT(written(), EndsWith("\r100%  0 B/s       "));
}

} // namespace
} // namespace quorvane::programs
