#include "platform/linux/exceptions.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>

namespace quorvane::platform::linux_ {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::KilledBySignal;
using ::testing::Not;

void tell(const Exception& exception) {
    std::fprintf(stderr, "<%s: %s>\n", exception.name().c_str(), exception.reason().c_str());
}

void letNothingOut(const std::function<void()>& operation) noexcept { operation(); }

/// Ends the process.
template <class Thrown>
void throwUncaught(const Thrown& thrown) {
    letNothingOut([&] { throw thrown; });
}

/// Each test's statement runs in a child, which ends.
class UncaughtExceptionTest : public ::testing::Test {
protected:
    void SetUp() override { exceptions_->setUncaughtExceptionHandler(tell); }
    void TearDown() override { exceptions_->setUncaughtExceptionHandler(nullptr); }

    const std::shared_ptr<Exceptions> exceptions_ = makeExceptions();
};

TEST_F(UncaughtExceptionTest, TellsAPlatformException) {
    EXPECT_EXIT(throwUncaught(Exception("NSName", "100%s of\nit")), KilledBySignal(SIGABRT),
                HasSubstr("<NSName: 100%s of\nit>\n"));
}

TEST_F(UncaughtExceptionTest, TellsAStandardExceptionByItsType) {
    EXPECT_EXIT(throwUncaught(std::runtime_error("disk gone")), KilledBySignal(SIGABRT),
                HasSubstr("<std::runtime_error: disk gone>\n"));
}

TEST_F(UncaughtExceptionTest, TellsAnythingElseByItsType) {
    EXPECT_EXIT(throwUncaught(7), KilledBySignal(SIGABRT), HasSubstr("<int: unknown exception>\n"));
}

TEST_F(UncaughtExceptionTest, LeavesTheLastWordToTheHandlerBefore) {
    EXPECT_EXIT(throwUncaught(7), KilledBySignal(SIGABRT),
                HasSubstr("terminate called after throwing an instance of 'int'"));
}

TEST_F(UncaughtExceptionTest, TellsNothingWithoutAnException) {
    EXPECT_EXIT(std::terminate(), KilledBySignal(SIGABRT), Not(HasSubstr("<")));
}

TEST_F(UncaughtExceptionTest, RunsOnTheThreadThatThrew) {
    const auto throwOnAWorker = [this] {
        std::thread worker([this] {
            exceptions_->setUncaughtExceptionHandler(
                [worker = std::this_thread::get_id()](const Exception& exception) {
                    if (std::this_thread::get_id() == worker) tell(exception);
                });
            throw Exception("Name", "on a worker");
        });
        worker.join();
    };
    EXPECT_EXIT(throwOnAWorker(), KilledBySignal(SIGABRT), HasSubstr("<Name: on a worker>\n"));
}

TEST_F(UncaughtExceptionTest, EndsTheProcessWhenTheHandlerThrows) {
    exceptions_->setUncaughtExceptionHandler([](const Exception& exception) {
        tell(exception);
        throw std::runtime_error("thrown by the handler");
    });
    EXPECT_EXIT(throwUncaught(7), KilledBySignal(SIGABRT),
                AllOf(HasSubstr("<int: unknown exception>\n"), Not(HasSubstr("<std::"))));
}

TEST_F(UncaughtExceptionTest, UsesTheHandlerSetLast) {
    makeExceptions()->setUncaughtExceptionHandler(
        [](const Exception& /*exception*/) { std::fputs("<the last one>\n", stderr); });
    EXPECT_EXIT(throwUncaught(7), KilledBySignal(SIGABRT),
                AllOf(HasSubstr("<the last one>\n"), Not(HasSubstr("<int"))));
}

TEST_F(UncaughtExceptionTest, EndsTheProcessWithoutAHandler) {
    exceptions_->setUncaughtExceptionHandler(nullptr);
    EXPECT_EXIT(throwUncaught(7), KilledBySignal(SIGABRT), Not(HasSubstr("<")));
}

} // namespace
} // namespace quorvane::platform::linux_
