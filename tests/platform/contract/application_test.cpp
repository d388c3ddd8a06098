// What every application object does on its main thread, the scripted one included.
#include <atomic>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "platform/Values.h"
#include "platform/linux/run_loop.h"
#include "tests/support/fake_application.h"
#include "tests/support/time_limit.h"

namespace quorvane::testing {
namespace {

using namespace std::chrono_literals;
using platform::Application;
using ::testing::ElementsAre;

/// An application whose main thread is the test's.
struct Program {
    std::shared_ptr<Application> application;
    /// Turns the main loop until the application terminates.
    std::function<void()> run;
};

struct Maker {
    std::string name;
    std::function<Program(Journal&)> make;
};

/// How the test framework names it.
void PrintTo(const Maker& maker, std::ostream* stream) { *stream << maker.name; }

Program makeScripted(Journal& journal) {
    auto application = std::make_shared<FakeApplication>(journal);
    application->setMode(MainThread::pumped);
    return {application, [application] {
                EXPECT_TRUE(application->pumpUntil([&] { return application->terminated(); }));
            }};
}

Program makeLinux(Journal& /*journal*/) {
    auto loop = std::make_shared<platform::linux_::RunLoop>();
    return {loop, [loop] { loop->run(); }};
}

class ApplicationContract : public ::testing::TestWithParam<Maker> {
protected:
    void perform(const std::function<void()>& operation) {
        application_.performOnMainThreadAndWait(operation);
    }

    /// A thread that performs operations on the main thread and then ends the application.
    std::thread workerThatTerminates(std::function<void()> work) {
        return std::thread([this, work = std::move(work)] {
            work();
            perform([this] { application_.terminate(); });
        });
    }

    void endLoop() {
        application_.terminate();
        program_.run();
    }

    const TimeLimit timeLimit_;
    Journal journal_;
    const Program program_ = GetParam().make(journal_);
    Application& application_ = *program_.application;
};

TEST_P(ApplicationContract, PerformsAtOnceOnTheMainThread) {
    bool performed = false;
    perform([&] { performed = application_.isMainThread(); });
    EXPECT_TRUE(performed);
    EXPECT_FALSE(application_.processNextEvent(0ms));
}

TEST_P(ApplicationContract, PassesAnExceptionToACallerOnTheMainThread) {
    EXPECT_THROW(perform([] { throw platform::Exception("Name", "reason"); }), platform::Exception);
}

TEST_P(ApplicationContract, PerformsForOtherThreadsOnTheMainThreadInTheirOrder) {
    std::vector<int> performed;
    bool otherIsMain = true;
    bool performedOnMain = true;
    std::thread worker = workerThatTerminates([&] {
        otherIsMain = application_.isMainThread();
        for (int number = 0; number < 3; ++number)
            perform([&, number] {
                performedOnMain = performedOnMain && application_.isMainThread();
                performed.push_back(number);
            });
    });
    program_.run();
    worker.join();
    EXPECT_FALSE(otherIsMain);
    EXPECT_TRUE(performedOnMain);
    EXPECT_THAT(performed, ElementsAre(0, 1, 2));
}

TEST_P(ApplicationContract, KeepsTheOrderOfEachCaller) {
    constexpr std::size_t kWorkers = 8;
    constexpr int kOperations = 50;
    std::vector<int> counts(kWorkers);
    std::size_t finished = 0;
    std::vector<std::thread> workers;
    for (std::size_t index = 0; index < kWorkers; ++index)
        workers.emplace_back([&, index] {
            for (int number = 0; number < kOperations; ++number)
                perform([&] { EXPECT_EQ(counts[index]++, number); });
            perform([&] {
                if (++finished == kWorkers) application_.terminate();
            });
        });
    program_.run();
    for (std::thread& worker : workers) worker.join();
    EXPECT_THAT(counts, ::testing::Each(kOperations));
}

TEST_P(ApplicationContract, ReturnsOnlyWhenTheOperationHasReturned) {
    std::atomic<bool> finished = false;
    bool seen = false;
    std::thread worker = workerThatTerminates([&] {
        perform([&] {
            std::this_thread::sleep_for(10ms);
            finished = true;
        });
        seen = finished;
    });
    program_.run();
    worker.join();
    EXPECT_TRUE(seen);
}

TEST_P(ApplicationContract, LetsTheCallerGoOnWhenItsOperationThrows) {
    bool wentOn = false;
    std::thread worker = workerThatTerminates([&] {
        perform([] { throw platform::Exception("Name", "reason"); });
        wentOn = true;
    });
    EXPECT_THROW(application_.processNextEvent(kGenerousLimit), platform::Exception);
    program_.run();
    worker.join();
    EXPECT_TRUE(wentOn);
}

TEST_P(ApplicationContract, PerformsWhileAnotherOperationTurnsTheLoop) {
    std::string order;
    std::thread inner;
    std::thread outer = workerThatTerminates([&] {
        perform([&] {
            order += "(";
            inner = std::thread([&] { perform([&] { order += "inner"; }); });
            EXPECT_TRUE(application_.processNextEvent(kGenerousLimit));
            order += ")";
        });
    });
    program_.run();
    outer.join();
    inner.join();
    EXPECT_EQ(order, "(inner)");
}

TEST_P(ApplicationContract, PerformsNothingOnceTheLoopHasEnded) {
    endLoop();
    bool performed = false;
    std::thread([&] { perform([&] { performed = true; }); }).join();
    EXPECT_FALSE(performed);
    EXPECT_FALSE(application_.processNextEvent(0ms));
}

TEST_P(ApplicationContract, LetsWaitingCallersGoOnWhenTheLoopEnds) {
    std::atomic<int> asking = 0;
    std::atomic<int> performed = 0;
    std::vector<std::thread> waiting;
    std::thread worker([&] {
        perform([&] {
            for (int number = 0; number < 4; ++number)
                waiting.emplace_back([&] {
                    ++asking;
                    perform([&] { ++performed; });
                });
            EXPECT_TRUE(eventually([&] { return asking == 4; }));
            std::this_thread::sleep_for(10ms); // most of them wait by now
            application_.terminate();
        });
    });
    program_.run();
    worker.join();
    for (std::thread& thread : waiting) thread.join();
    EXPECT_EQ(performed, 0);
}

TEST_P(ApplicationContract, RunsAtOnceToItsEndWhenTerminatedBefore) {
    application_.terminate();
    program_.run();
}

TEST_P(ApplicationContract, TellsEachObserverOnceOnTheMainThread) {
    std::vector<int> calls(3);
    bool onMain = true;
    for (int& count : calls)
        application_.addWillTerminateObserver([&] {
            ++count;
            onMain = onMain && application_.isMainThread();
        });
    std::thread worker = workerThatTerminates([] {});
    program_.run();
    worker.join();
    application_.terminate();
    EXPECT_THAT(calls, ElementsAre(1, 1, 1));
    EXPECT_TRUE(onMain);
}

TEST_P(ApplicationContract, IgnoresTerminationByAnObserver) {
    int calls = 0;
    application_.addWillTerminateObserver([&] {
        ++calls;
        application_.terminate();
    });
    application_.terminate();
    EXPECT_EQ(calls, 1);
}

TEST_P(ApplicationContract, ForgetsAnObserverThatIsTakenBack) {
    int calls = 0;
    const int first = application_.addWillTerminateObserver([&] { ++calls; });
    const int second = application_.addWillTerminateObserver([&] { ++calls; });
    EXPECT_NE(first, second);
    application_.removeWillTerminateObserver(first);
    application_.removeWillTerminateObserver(first);
    for (const int unknown : {-1, 0, second + 1}) application_.removeWillTerminateObserver(unknown);
    application_.terminate();
    EXPECT_EQ(calls, 1);
}

TEST_P(ApplicationContract, ObserversMayTakeBackThemselvesAndOthers) {
    int calls = 0;
    int first = 0;
    int second = 0;
    const auto takeBackBoth = [&] {
        ++calls;
        application_.removeWillTerminateObserver(first);
        application_.removeWillTerminateObserver(second);
    };
    first = application_.addWillTerminateObserver(takeBackBoth);
    second = application_.addWillTerminateObserver(takeBackBoth);
    application_.terminate();
    EXPECT_EQ(calls, 1);
}

TEST_P(ApplicationContract, TakesObserversFromAnyThread) {
    std::vector<std::thread> threads;
    std::atomic<int> calls = 0;
    threads.reserve(8);
    for (int number = 0; number < 8; ++number)
        threads.emplace_back([&] {
            const int registration = application_.addWillTerminateObserver([&] { calls += 100; });
            application_.addWillTerminateObserver([&] { ++calls; });
            application_.removeWillTerminateObserver(registration);
        });
    for (std::thread& thread : threads) thread.join();
    application_.terminate();
    EXPECT_EQ(calls, 8);
}

TEST_P(ApplicationContract, TakesAtMostOneOperationPerEvent) {
    std::atomic<int> performed = 0;
    std::thread first([&] { perform([&] { ++performed; }); });
    std::thread second([&] { perform([&] { ++performed; }); });
    EXPECT_TRUE(application_.processNextEvent(kGenerousLimit));
    EXPECT_EQ(performed, 1);
    EXPECT_TRUE(application_.processNextEvent(kGenerousLimit));
    EXPECT_EQ(performed, 2);
    first.join();
    second.join();
    EXPECT_FALSE(application_.processNextEvent(10ms));
    EXPECT_EQ(performed, 2);
}

TEST_P(ApplicationContract, WaitsForAnEventNoLongerThanTheLimit) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(application_.processNextEvent(20ms));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
}

INSTANTIATE_TEST_SUITE_P(, ApplicationContract,
                         ::testing::Values(Maker{"Scripted", makeScripted},
                                           Maker{"Linux", makeLinux}),
                         [](const auto& suite) { return suite.param.name; });

} // namespace
} // namespace quorvane::testing
