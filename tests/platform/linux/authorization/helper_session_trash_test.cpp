#include <gmock/gmock.h>

#include "platform/linux/authorization/helper_session.h"
#include "tests/platform/linux/authorization/fake_helper.h"
#include "tests/platform/linux/trash_fixture.h"
#include "tests/support/time_limit.h"

namespace quorvane::platform::linux_ {
namespace {

using namespace std::chrono_literals;
using testing::contentOf;
using ::testing::ElementsAre;
using testing::FakeHelper;
using ::testing::IsEmpty;
using testing::TestPipe;
using Kind = helper::AnswerKind;

/// A helper that moves items with the rights of the test.
class HelperSessionTrashTest : public testing::TrashFixture {
protected:
    HelperSessionTrashTest() {
        scratch.addFile("source/a b");
        // The Trash stands from now on.
        trash.withdraw(trash.announce(source + "/x", files + "/x"));
    }

    void startSession(std::function<void(const FakeHelper::Request&)> handle,
                      std::chrono::milliseconds patience = kHelperPatience) {
        helper_.serve(std::move(handle));
        session_.emplace(helper_.takeClientEnd(), std::make_shared<Trash>(identity), patience);
    }

    static void move(const FakeHelper::Request& request) {
        std::filesystem::rename(request.texts.at(2), request.texts.at(3));
    }

    PrivilegedExecution moveToTrash() {
        return session_->run("/bin/mv",
                             {"-f", source + "//a b/", scratch / "home/.Trash" + "/a b"});
    }

    const testing::TimeLimit timeLimit_;
    FakeHelper helper_;
    std::optional<HelperSession> session_; // goes before the helper, which waits for that
};

TEST_F(HelperSessionTrashTest, WritesAMovedItemDown) {
    std::vector<std::string> texts;
    startSession([&](const FakeHelper::Request& request) {
        texts = request.texts;
        move(request);
        helper_.answer(request.id, Kind::ended);
    });
    EXPECT_EQ(moveToTrash().status, kAuthorizationSuccess);
    const Path real = std::filesystem::canonical(files);
    EXPECT_THAT(texts, ElementsAre("/bin/mv", "-nT", source + "/a b", real + "/a b"));
    session_.reset();
    EXPECT_THAT(entries(files), ElementsAre("a b"));
    EXPECT_THAT(entries(infos), ElementsAre("a b.trashinfo"));
    EXPECT_EQ(pathLine(infos + "/a b.trashinfo"), "Path=" + source + "/a%20b");
}

TEST_F(HelperSessionTrashTest, ForgetsWhatIsRefused) {
    startSession([&](const FakeHelper::Request& request) {
        EXPECT_THAT(entries(infos), ElementsAre("a b.trashinfo"));
        helper_.answer(request.id, Kind::refused, EPERM);
    });
    EXPECT_EQ(moveToTrash().status, kAuthorizationToolExecuteFailure);
    EXPECT_THAT(entries(infos), IsEmpty());
}

TEST_F(HelperSessionTrashTest, ForgetsWhatCouldNotBeAskedFor) {
    startSession([&](const FakeHelper::Request&) { helper_.close(); });
    EXPECT_EQ(moveToTrash().status, kAuthorizationToolExecuteFailure);
    EXPECT_THAT(entries(infos), IsEmpty());
    EXPECT_EQ(moveToTrash().status, kAuthorizationToolExecuteFailure);
    EXPECT_THAT(entries(infos), IsEmpty());
}

TEST_F(HelperSessionTrashTest, ForgetsWhatAnEndedToolDidNotMove) {
    startSession(
        [&](const FakeHelper::Request& request) { helper_.answer(request.id, Kind::ended, 1); });
    EXPECT_EQ(moveToTrash().status, kAuthorizationSuccess);
    EXPECT_THAT(entries(infos), IsEmpty());
}

TEST_F(HelperSessionTrashTest, ForgetsWhatALongRunningToolDidNotMoveOnceItHasEnded) {
    TestPipe pipe;
    startSession([&](const FakeHelper::Request& request) {
        helper_.answer(request.id, Kind::started, 0, {pipe.reading.get()});
    });
    EXPECT_EQ(moveToTrash().status, kAuthorizationSuccess);
    EXPECT_THAT(entries(infos), ElementsAre("a b.trashinfo"));
    pipe.writing.reset();
    session_.reset();
    EXPECT_THAT(entries(infos), IsEmpty());
}

TEST_F(HelperSessionTrashTest, KeepsWhatALongRunningToolHasMoved) {
    TestPipe pipe;
    startSession([&](const FakeHelper::Request& request) {
        helper_.answer(request.id, Kind::started, 0, {pipe.reading.get()});
    });
    EXPECT_EQ(moveToTrash().status, kAuthorizationSuccess);
    std::filesystem::rename(source + "/a b", files + "/a b");
    pipe.writing.reset();
    session_.reset();
    EXPECT_THAT(entries(infos), ElementsAre("a b.trashinfo"));
}

TEST_F(HelperSessionTrashTest, NamesAFreeDestination) {
    scratch.addFile("home/.local/share/Trash/files/a b", "older");
    scratch.addFile("home/.local/share/Trash/info/a b.trashinfo", "the older one's");
    startSession([&](const FakeHelper::Request& request) {
        move(request);
        helper_.answer(request.id, Kind::ended);
    });
    EXPECT_EQ(moveToTrash().status, kAuthorizationSuccess);
    EXPECT_THAT(entries(files), ElementsAre("a b", "a b.2"));
    EXPECT_EQ(contentOf(files + "/a b"), "older");
    EXPECT_EQ(contentOf(infos + "/a b.trashinfo"), "the older one's");
    EXPECT_EQ(pathLine(infos + "/a b.2.trashinfo"), "Path=" + source + "/a%20b");
}

TEST_F(HelperSessionTrashTest, NamesAnotherWhereSomebodyWasFaster) {
    int asked = 0;
    startSession([&](const FakeHelper::Request& request) {
        EXPECT_EQ(request.texts.at(1), "-nT");
        if (++asked == 1) {
            scratch.addFile("home/.local/share/Trash/files/a b", "of another");
            return helper_.answer(request.id, Kind::refused, EEXIST);
        }
        move(request);
        helper_.answer(request.id, Kind::ended);
    });
    EXPECT_EQ(moveToTrash().status, kAuthorizationSuccess);
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(contentOf(files + "/a b"), "of another");
    EXPECT_THAT(entries(infos), ElementsAre("a b.2.trashinfo"));
}

TEST_F(HelperSessionTrashTest, GivesUpWhereSomebodyIsAlwaysFaster) {
    startSession([&](const FakeHelper::Request& request) {
        helper_.answer(request.id, Kind::refused, EEXIST);
    });
    const auto execution = moveToTrash();
    EXPECT_EQ(execution.status, kAuthorizationToolExecuteFailure);
    EXPECT_EQ(execution.reason.code, EEXIST);
    EXPECT_THAT(entries(infos), IsEmpty());
    EXPECT_TRUE(exists(source + "/a b"));
}

TEST_F(HelperSessionTrashTest, HasNothingReplacedByACopy) {
    std::vector<std::string> texts;
    startSession([&](const FakeHelper::Request& request) {
        texts = request.texts;
        helper_.answer(request.id, Kind::refused, EEXIST);
    });
    const Path destination = scratch / "home/.local/share/Trash/files/a b";
    const auto execution =
        session_->run("/bin/cp", {"-f", "-p", "-R", source + "/a b", destination});
    EXPECT_THAT(texts, ElementsAre("/bin/cp", "-nT", "-p", "-R", source + "/a b", destination));
    EXPECT_EQ(execution.reason.code, EEXIST);
    EXPECT_THAT(entries(infos), IsEmpty());
}

TEST_F(HelperSessionTrashTest, KeepsWhatMayComeYet) {
    // Nobody learns when a tool ends whose answer is late, or whose output was lost.
    startSession(
        [&](const FakeHelper::Request& request) {
            if (request.id == 2) helper_.answer(request.id, Kind::started);
        },
        100ms);
    EXPECT_EQ(moveToTrash().reason.code, ETIMEDOUT);
    EXPECT_THAT(entries(infos), ElementsAre("a b.trashinfo"));
    EXPECT_EQ(moveToTrash().status, kAuthorizationSuccess);
    session_.reset();
    EXPECT_THAT(entries(infos), ElementsAre("a b.2.trashinfo", "a b.trashinfo"));
}

TEST_F(HelperSessionTrashTest, WritesNothingElseDown) {
    startSession(
        [&](const FakeHelper::Request& request) { helper_.answer(request.id, Kind::started); });
    const Path inTrash = files + "/a b";
    session_->run("/bin/mv", {"-f", source + "/a b", scratch / "elsewhere"});
    session_->run("/bin/mv", {source + "/a b", inTrash});
    session_->run("/bin/cp", {"-f", source + "/a b", inTrash});
    session_->run("/bin/mv", {"-f", source + "/a b", inTrash, "/b"});
    EXPECT_THAT(entries(infos), IsEmpty());
}

} // namespace
} // namespace quorvane::platform::linux_
