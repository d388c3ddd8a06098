#include "tests/support/fake_platform.h"

#include <gmock/gmock.h>

namespace quorvane::testing {
namespace {

using ::testing::ElementsAre;

TEST(FakePlatformTest, IsInstalledDuringItsLife) {
    FakePlatform outer;
    {
        FakePlatform inner;
        platform::services().consoleLog->log("inner");
        EXPECT_THAT(inner.consoleLog->messages(), ElementsAre("inner"));
    }
    platform::services().consoleLog->log("outer");
    EXPECT_THAT(outer.journal->entries(), ElementsAre("console.log outer"));
}

TEST(FakePlatformTest, LetsThreadsThatWaitForTheMainThreadGoAtItsEnd) {
    bool performed = false;
    {
        FakePlatform fakes;
        fakes.application->setMode(MainThread::pumped);
        fakes.queues->detachThread(
            [&] { fakes.application->performOnMainThreadAndWait([&] { performed = true; }); });
    }
    EXPECT_FALSE(performed);
}

TEST(FakePlatformTest, AnswersTheLayoutOfItsIdentity) {
    FakePlatform fakes;
    using platform::DirectoryKind;
    using platform::Domain;
    EXPECT_THAT(fakes.directories->searchPaths(DirectoryKind::caches, Domain::user),
                ElementsAre("/Users/anna/Library/Caches"));
    EXPECT_THAT(fakes.directories->searchPaths(DirectoryKind::library, Domain::system),
                ElementsAre("/System/Library"));
    EXPECT_THAT(fakes.directories->searchPaths(DirectoryKind::movies, Domain::local),
                ElementsAre());
    fakes.identity->becomeSuperuser();
    EXPECT_THAT(fakes.directories->searchPaths(DirectoryKind::library, Domain::user),
                ElementsAre("/var/root/Library"));
    fakes.identity->userId = 501;
    fakes.identity->home = std::nullopt;
    EXPECT_THAT(fakes.directories->searchPaths(DirectoryKind::library, Domain::user),
                ElementsAre());
}

TEST(FakePlatformTest, JournalsLaunchesLetterByLetter) {
    FakePlatform fakes;
    fakes.processes->script("/usr/bin/env", {.exitStatus = 3});
    const auto process = fakes.processes->makeProcess();
    process->launch({.path = "/usr/bin/env",
                     .arguments = {"-0", "two words"},
                     .environment = Environment{{"A", "1"}, {"B", ""}},
                     .input = platform::StandardStream::to(fakes.processes->makePipe()),
                     .output = platform::StandardStream::inherit(),
                     .error = platform::StandardStream::null()});
    EXPECT_EQ(process->terminationStatus(), 3);
    EXPECT_THAT(fakes.journal->entries(),
                ElementsAre("process.launch /usr/bin/env [-0, two words] out=inherited err=null "
                            "in=pipe env=[A=1, B=]"));
}

} // namespace
} // namespace quorvane::testing
