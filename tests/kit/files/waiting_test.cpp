#include "kit/files/waiting.h"

#include <thread>

#include "tests/kit/files/file_manager_fixture.h"

namespace quorvane {
namespace {

using namespace std::chrono_literals;
using ::testing::Each;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class Waiting : public testing::FileManagerTest {};

TEST_F(Waiting, OnTheMainThreadTakesEventsInSlices) {
    int looks = 0;
    EXPECT_TRUE(waitUntil([&] { return ++looks >= 5; }, 10s));
    EXPECT_EQ(system.application->eventsAskedFor(), 4);
    EXPECT_THAT(system.journal->entries("queues."), IsEmpty());
}

TEST_F(Waiting, OnTheMainThreadEndsWithTheTimeout) {
    EXPECT_FALSE(waitUntil([] { return false; }, 1s));
    EXPECT_NEAR(system.application->eventsAskedFor(), 100, 1); // slices of 0.01 s
}

TEST_F(Waiting, ElsewhereSleepsBetweenLooks) {
    bool result = true;
    std::thread([&] { result = waitUntil([] { return false; }, 2s); }).join();
    EXPECT_FALSE(result);
    EXPECT_THAT(system.journal->entries("queues."), SizeIs(7));
    EXPECT_THAT(system.journal->entries("queues."), Each("queues.sleepFor 0.3"));
    EXPECT_EQ(system.application->eventsAskedFor(), 0);
}

TEST_F(Waiting, LooksOnceMoreAtTheEnd) {
    int looks = 0;
    waitUntil(
        [&] {
            ++looks;
            return false;
        },
        0s);
    EXPECT_EQ(looks, 2); // before the wait that did not come, and for the answer
}

} // namespace
} // namespace quorvane
