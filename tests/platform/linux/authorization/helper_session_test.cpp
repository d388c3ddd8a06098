#include "platform/linux/authorization/helper_session.h"

#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "platform/linux/trash.h"
#include "tests/platform/linux/authorization/fake_helper.h"
#include "tests/platform/linux/stub_identity.h"
#include "tests/support/errors.h"
#include "tests/support/time_limit.h"

namespace quorvane::platform::linux_ {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using testing::errorFor;
using testing::FakeHelper;
using testing::openDescriptors;
using testing::TestPipe;
using Kind = helper::AnswerKind;

class HelperSessionTest : public ::testing::Test {
protected:
    void startSession(std::chrono::milliseconds patience = kHelperPatience) {
        session_.emplace(helper_.takeClientEnd(), trash_, patience);
    }
    /// A session whose helper handles requests so.
    void startSession(std::function<void(const FakeHelper::Request&)> handle) {
        helper_.serve(std::move(handle));
        startSession();
    }

    void expectFailure(const PrivilegedExecution& execution, int code) {
        EXPECT_EQ(execution.status, kAuthorizationToolExecuteFailure);
        EXPECT_FALSE(execution.pipe);
        EXPECT_EQ(execution.reason.code, code);
        EXPECT_EQ(execution.reason.text, errorFor(code).text);
    }

    static std::string readToEnd(CommunicationsPipe& pipe) {
        std::string text;
        for (int next = pipe.readCharacter(); next >= 0; next = pipe.readCharacter())
            text += static_cast<char>(next);
        return text;
    }

    const testing::TimeLimit timeLimit_;
    const std::shared_ptr<Trash> trash_ =
        std::make_shared<Trash>(std::make_shared<testing::StubIdentity>());
    FakeHelper helper_;
    std::optional<HelperSession> session_; // goes before the helper, which waits for that
};

TEST_F(HelperSessionTest, AsksForEveryToolUnderANumberOfItsOwn) {
    std::vector<FakeHelper::Request> requests;
    startSession([&](const FakeHelper::Request& request) {
        requests.push_back(request);
        helper_.answer(request.id, Kind::ended);
    });
    EXPECT_EQ(session_->run("/bin/rm", {"-Rdf", "/a b"}).status, kAuthorizationSuccess);
    EXPECT_EQ(session_->run("/bin/mkdir", {"-p", "/\xff\n"}).status, kAuthorizationSuccess);
    session_.reset();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_THAT(requests[0].texts, ElementsAre("/bin/rm", "-Rdf", "/a b"));
    EXPECT_EQ(requests[0].textCount, 3U);
    EXPECT_THAT(requests[1].texts, ElementsAre("/bin/mkdir", "-p", "/\xff\n"));
    EXPECT_NE(requests[0].id, requests[1].id);
}

TEST_F(HelperSessionTest, MakesOperandsPlainAndNothingElse) {
    std::vector<std::string> texts;
    startSession([&](const FakeHelper::Request& request) {
        texts = request.texts;
        helper_.answer(request.id, Kind::ended);
    });
    session_->run("/bin/cp", {"-f/./", "//no//such/./a/", "no//such/", "/no/../such", "/"});
    EXPECT_THAT(texts,
                ElementsAre("/bin/cp", "-f/./", "/no/such/a", "no//such/", "/no/../such", "/"));
}

TEST_F(HelperSessionTest, GivesTheOutputOfARunningTool) {
    TestPipe pipe;
    startSession([&](const FakeHelper::Request& request) {
        helper_.answer(request.id, Kind::started, 0, {pipe.reading.get()});
    });
    const auto execution = session_->run("/bin/rm", {"/a"});
    EXPECT_EQ(execution.status, kAuthorizationSuccess);
    ASSERT_TRUE(execution.pipe);
    pipe.reading.reset();
    pipe.write("working");
    pipe.writing.reset();
    EXPECT_EQ(readToEnd(*execution.pipe), "working");
}

TEST_F(HelperSessionTest, GivesTheOutputOfAnEndedTool) {
    startSession([&](const FakeHelper::Request& request) {
        TestPipe pipe;
        pipe.write("rm: no\n");
        pipe.writing.reset();
        helper_.answer(request.id, Kind::ended, 1, {pipe.reading.get()});
    });
    const std::size_t before = openDescriptors();
    const auto execution = session_->run("/bin/rm", {"/a"});
    EXPECT_EQ(execution.status, kAuthorizationSuccess);
    ASSERT_TRUE(execution.pipe);
    EXPECT_TRUE(testing::eventually([&] { return openDescriptors() == before; }));
    EXPECT_EQ(readToEnd(*execution.pipe), "rm: no\n");
}

TEST_F(HelperSessionTest, AnEndedToolWithoutOutputIsAtItsEnd) {
    startSession(
        [&](const FakeHelper::Request& request) { helper_.answer(request.id, Kind::ended, 1); });
    const auto execution = session_->run("/bin/rm", {"/a"});
    ASSERT_TRUE(execution.pipe);
    EXPECT_EQ(execution.pipe->readCharacter(), -1);
}

TEST_F(HelperSessionTest, TellsWhyARequestIsRefusedAndGoesOn) {
    startSession([&](const FakeHelper::Request& request) {
        const bool isRefused = request.texts[0] != "/bin/rm";
        helper_.answer(request.id, isRefused ? Kind::refused : Kind::ended, isRefused ? EPERM : 0);
    });
    expectFailure(session_->run("/bin/dd", {}), EPERM);
    EXPECT_EQ(session_->run("/bin/rm", {"/a"}).status, kAuthorizationSuccess);
}

TEST_F(HelperSessionTest, DoesNotAskForWhatDoesNotFit) {
    std::atomic<int> requests = 0;
    startSession([&](const FakeHelper::Request& request) {
        ++requests;
        helper_.answer(request.id, Kind::ended);
    });
    expectFailure(session_->run("/bin/rm", {"-Rdf", "/" + std::string(9000, 'x')}), E2BIG);
    expectFailure(session_->run("/bin/rm", Arguments(helper::kMaximumTexts, "/a")), E2BIG);
    expectFailure(session_->run("/bin/rm", {std::string("/a\0b", 4)}), EINVAL);
    EXPECT_EQ(requests, 0);
    EXPECT_EQ(session_->run("/bin/rm", {"/a"}).status, kAuthorizationSuccess);
}

TEST_F(HelperSessionTest, EndsWithItsHelper) {
    startSession([&](const FakeHelper::Request&) { helper_.close(); });
    for (int run = 0; run < 3; ++run) expectFailure(session_->run("/bin/rm", {"/a"}), EPIPE);
}

TEST_F(HelperSessionTest, NoticesAHelperThatHasGoneBefore) {
    startSession();
    helper_.close();
    for (int run = 0; run < 2; ++run) expectFailure(session_->run("/bin/rm", {"/a"}), EPIPE);
}

TEST_F(HelperSessionTest, GivesUpOnASilentHelperAndDropsItsLateAnswer) {
    std::uint32_t late = 0;
    TestPipe pipe;
    helper_.serve([&](const FakeHelper::Request& request) {
        if (late == 0) {
            late = request.id;
            return;
        }
        helper_.answer(late, Kind::refused, EPERM);
        helper_.answer(late, Kind::started, 0, {pipe.reading.get()});
        helper_.answer(request.id, Kind::ended);
    });
    startSession(100ms);
    expectFailure(session_->run("/bin/rm", {"/a"}), ETIMEDOUT);
    const std::size_t before = openDescriptors();
    EXPECT_EQ(session_->run("/bin/rm", {"/b"}).status, kAuthorizationSuccess);
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(HelperSessionTest, BreaksOffOverWhatIsNoAnswer) {
    for (const std::string& message :
         {std::string("x"), std::string(sizeof(helper::Answer) + 1, '\0'), std::string(100, 'x')}) {
        FakeHelper helper;
        HelperSession session(helper.takeClientEnd(), trash_);
        const TestPipe pipe;
        helper.serve([&](const FakeHelper::Request&) {
            helper.send(message, {pipe.reading.get(), pipe.writing.get(), pipe.reading.get()});
        });
        const std::size_t before = openDescriptors();
        expectFailure(session.run("/bin/rm", {"/a"}), EPROTO);
        EXPECT_EQ(openDescriptors(), before - 1); // its socket
        expectFailure(session.run("/bin/rm", {"/a"}), EPIPE);
    }
}

TEST_F(HelperSessionTest, BreaksOffOverAnAnswerOfAnUnknownKind) {
    startSession([&](const FakeHelper::Request& request) {
        helper_.answer(request.id, static_cast<Kind>(77));
    });
    expectFailure(session_->run("/bin/rm", {"/a"}), EPROTO);
    expectFailure(session_->run("/bin/rm", {"/a"}), EPIPE);
}

TEST_F(HelperSessionTest, KeepsNoDescriptorTooMany) {
    TestPipe pipe;
    startSession([&](const FakeHelper::Request& request) {
        helper_.answer(request.id, Kind::started, 0,
                       {pipe.reading.get(), pipe.writing.get(), pipe.writing.get()});
    });
    const std::size_t before = openDescriptors();
    const auto execution = session_->run("/bin/rm", {"/a"});
    EXPECT_EQ(execution.status, kAuthorizationSuccess);
    EXPECT_EQ(openDescriptors(), before + 1);
    pipe.write("x");
    pipe.writing.reset();
    EXPECT_EQ(readToEnd(*execution.pipe), "x");
}

TEST_F(HelperSessionTest, CostsNoDescriptorsHoweverManyTools) {
    std::vector<std::unique_ptr<CommunicationsPipe>> kept;
    startSession([&](const FakeHelper::Request& request) {
        TestPipe pipe;
        if (request.id % 3 == 0) return helper_.answer(request.id, Kind::ended);
        if (request.id % 3 == 1) pipe.write("said");
        if (request.id % 3 == 1) pipe.writing.reset();
        helper_.answer(request.id, request.id % 3 == 1 ? Kind::ended : Kind::started, 0,
                       {pipe.reading.get()});
    });
    const std::size_t before = openDescriptors();
    for (int run = 0; run < 3000; ++run) {
        auto execution = session_->run("/bin/rm", {"-Rdf", "/a"});
        ASSERT_EQ(execution.status, kAuthorizationSuccess);
        kept.push_back(std::move(execution.pipe));
    }
    session_.reset();
    EXPECT_TRUE(testing::eventually([&] { return openDescriptors() == before - 1; }))
        << openDescriptors() << " instead of " << before - 1;
    EXPECT_EQ(readToEnd(*kept[0]), "said");
    EXPECT_EQ(readToEnd(*kept[1]), "");
}

TEST_F(HelperSessionTest, SettlesToolsThatHaveEndedWheneverItIsUsed) {
    TestPipe pipe;
    startSession([&](const FakeHelper::Request& request) {
        if (request.id == 1)
            helper_.answer(request.id, Kind::started, 0, {pipe.reading.get()});
        else
            helper_.answer(request.id, Kind::ended);
    });
    const auto first = session_->run("/bin/rm", {"/a"});
    pipe.reading.reset();
    pipe.write("last words");
    session_->run("/bin/rm", {"/b"});
    pipe.writing.reset();
    const std::size_t before = openDescriptors();
    session_->run("/bin/rm", {"/c"});
    EXPECT_EQ(openDescriptors(), before - 1);
    EXPECT_EQ(readToEnd(*first.pipe), "last words");
}

TEST_F(HelperSessionTest, LeavesRunningToolsTheirOutputWhenItEnds) {
    TestPipe pipe;
    startSession([&](const FakeHelper::Request& request) {
        helper_.answer(request.id, Kind::started, 0, {pipe.reading.get()});
    });
    const auto execution = session_->run("/bin/rm", {"/a"});
    pipe.reading.reset();
    session_.reset();
    pipe.write("still here");
    pipe.writing.reset();
    EXPECT_EQ(readToEnd(*execution.pipe), "still here");
}

TEST_F(HelperSessionTest, ServesManyThreads) {
    // Every tool prints its own operand.
    startSession([&](const FakeHelper::Request& request) {
        TestPipe pipe;
        pipe.write(request.texts.back());
        pipe.writing.reset();
        helper_.answer(request.id, Kind::started, 0, {pipe.reading.get()});
    });
    std::vector<std::thread> threads;
    for (const std::string name : {"/one", "/two", "/three"})
        threads.emplace_back([this, name] {
            for (int run = 0; run < 200; ++run) {
                const auto execution = session_->run("/bin/rm", {"-Rdf", name});
                ASSERT_EQ(execution.status, kAuthorizationSuccess);
                EXPECT_EQ(readToEnd(*execution.pipe), name);
            }
        });
    for (std::thread& thread : threads) thread.join();
}

} // namespace
} // namespace quorvane::platform::linux_
