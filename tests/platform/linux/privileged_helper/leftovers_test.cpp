// What a helper leaves behind when it is killed, and what the next one makes of it.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "platform/linux/privileged_helper/staging_folder.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/privileged_helper/helper_process.h"
#include "tests/platform/linux/privileged_helper/ownerless_volume.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
namespace helper = platform::linux_::helper;
using helper::AnswerKind;

bool waitUntil(const std::function<bool()>& question) {
    for (int times = 0; times < 6000; ++times) {
        if (question()) return true;
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

/// The processes that a process has started and that still run.
std::vector<pid_t> childrenOf(pid_t process) {
    const std::string number = std::to_string(process);
    std::ifstream list("/proc/" + number + "/task/" + number + "/children");
    std::vector<pid_t> running;
    for (pid_t child = 0; list >> child;)
        if (access(("/proc/" + std::to_string(child) + "/exe").c_str(), F_OK) == 0)
            running.push_back(child);
    return running;
}

class Leftovers : public ::testing::Test {
protected:
    void SetUp() override {
        if (!OwnerlessVolume::isPossible()) GTEST_SKIP() << "needs file systems of its own";
        folder_ = scratch_.addFolder("user's");
        ASSERT_EQ(chmod(scratch_.path().c_str(), 0755), 0);
        ASSERT_EQ(chown(folder_.c_str(), kOrdinaryUser, kOrdinaryUser), 0);
        scratch_.addFile("source/file", "content");
    }
    /// The staging folder; empty where there is none.
    Path staging() const {
        for (const auto& entry : fs::directory_iterator(folder_))
            if (entry.path().filename().string().starts_with(".quorvane-")) return entry.path();
        return {};
    }
    /// A copy that is under way, as long as the body runs; this gets the process that makes it.
    void duringACopy(const std::function<void(pid_t process)>& body) const {
        inPrivateMounts([&] {
            const OwnerlessVolume slow(scratch_.addFolder("disk"),
                                       scratch_.addFolder("source/slow"), 0);
            slow.pause();
            HelperProcess helper(geteuid(), records_);
            const auto reply =
                helper.ask({"/bin/cp", "-f", "-p", "-R", scratch_ / "source", folder_ + "/copy"});
            ASSERT_EQ(reply.answer.kind, AnswerKind::started);
            const std::vector<pid_t> children = childrenOf(helper.process());
            ASSERT_EQ(children.size(), 1U);
            EXPECT_TRUE(waitUntil([&] { return !fs::is_empty(staging()); }));
            body(children.front());
            slow.goOn();
            reply.text(); // until it ends
            EXPECT_TRUE(helper.end());
        });
    }
    /// What is left of a copy that was killed.
    Path leaveBehind() const {
        duringACopy([](pid_t process) { EXPECT_EQ(kill(process, SIGKILL), 0); });
        EXPECT_FALSE(fs::is_empty(records_));
        EXPECT_FALSE(staging().empty());
        return staging();
    }
    /// A whole session, and what it does beside.
    void serveSession() const {
        HelperProcess helper(geteuid(), records_);
        EXPECT_TRUE(helper.receive());
        EXPECT_TRUE(waitUntil([&] { return childrenOf(helper.process()).empty(); }));
        EXPECT_TRUE(helper.end());
    }

    ScratchFolder scratch_;
    Path folder_;
    const Path records_ = scratch_ / "records";
};

TEST_F(Leftovers, AreRemovedByTheNextSession) {
    leaveBehind();
    serveSession();
    EXPECT_TRUE(fs::is_empty(folder_));
    EXPECT_FALSE(fs::exists(records_));
    EXPECT_TRUE(fs::exists(scratch_ / "source/file"));
}

TEST_F(Leftovers, AreNotWhatAnotherSessionUses) {
    duringACopy([&](pid_t) {
        serveSession();
        EXPECT_FALSE(fs::is_empty(staging()));
    });
    EXPECT_EQ(contentOf(folder_ + "/copy/file"), "content");
    EXPECT_TRUE(staging().empty());
    EXPECT_FALSE(fs::exists(records_));
}

/// The owner of the folder may rename what is in it, be it the superuser's.
TEST_F(Leftovers, AreNotWhatTheOwnerOfTheFolderPutInTheirPlace) {
    const Path left = leaveBehind();
    const Path victim = scratch_.addFile("user's/victim/file", "precious");
    ASSERT_EQ(chmod((folder_ + "/victim").c_str(), 0700), 0); // the superuser's, as those are
    fs::rename(left, folder_ + "/aside");
    fs::rename(folder_ + "/victim", left);
    serveSession();
    EXPECT_EQ(contentOf(left + "/file"), "precious");
    EXPECT_FALSE(fs::is_empty(folder_ + "/aside"));
}

TEST_F(Leftovers, AreNotReachedThroughLinks) {
    const Path left = leaveBehind();
    const Path victim = scratch_.addFolder("victim");
    fs::rename(left, victim + left.substr(folder_.size()));
    fs::rename(folder_, scratch_ / "aside");
    fs::create_directory_symlink(victim, folder_);
    serveSession();
    EXPECT_FALSE(fs::is_empty(victim + left.substr(folder_.size())));
}

TEST_F(Leftovers, KeepWhatIsMountedInThem) {
    const Path left = leaveBehind();
    inPrivateMounts([&] {
        scratch_.addFile("precious/file", "content");
        fs::create_directory(left + "/mounted");
        bindFolder(scratch_ / "precious", left + "/mounted");
        serveSession();
        EXPECT_EQ(contentOf(scratch_ / "precious/file"), "content");
    });
}

TEST_F(Leftovers, ThatCouldNotBeRemovedAtOnceAreRemovedLater) {
    inPrivateMounts([&] {
        const Path destination = folder_ + "/copy";
        const helper::Place beside =
            helper::openPlace(destination.c_str(), helper::MakeMissing::no);
        helper::StagingFolder unfinished(beside, folder_, records_);
        ASSERT_TRUE(unfinished);
        fs::create_directory(staging() + "/mounted");
        bindFolder(scratch_.addFolder("precious"), staging() + "/mounted");
        unfinished.remove();
    });
    ASSERT_FALSE(staging().empty());
    serveSession();
    EXPECT_TRUE(staging().empty());
    EXPECT_FALSE(fs::exists(records_));
}

TEST_F(Leftovers, AreForgottenOnceTheyAreGone) {
    fs::remove_all(leaveBehind());
    serveSession();
    EXPECT_FALSE(fs::exists(records_));
}

TEST_F(Leftovers, AreNotBelievedToAFolderThatOthersCanWrite) {
    leaveBehind();
    ASSERT_EQ(chmod(records_.c_str(), 0777), 0);
    serveSession();
    EXPECT_FALSE(staging().empty());
    ASSERT_EQ(chmod(records_.c_str(), 0700), 0);
    ASSERT_EQ(chown(records_.c_str(), kOrdinaryUser, kOrdinaryUser), 0);
    serveSession();
    EXPECT_FALSE(staging().empty());
}

TEST_F(Leftovers, OfADamagedRecordAreLeftAlone) {
    fs::create_directory(records_);
    ASSERT_EQ(chmod(records_.c_str(), 0700), 0);
    const Path folder = scratch_.addFolder("user's/.quorvane-1");
    std::ofstream(records_ + "/.quorvane-1") << std::string(200, '\xff');
    std::ofstream(records_ + "/short") << "x";
    fs::create_symlink(folder, records_ + "/link");
    serveSession();
    EXPECT_TRUE(fs::exists(folder));
}

} // namespace
} // namespace quorvane::testing
