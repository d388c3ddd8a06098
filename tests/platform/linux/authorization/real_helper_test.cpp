#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "platform/linux/authorization/authorization.h"
#include "tests/platform/linux/authorization/children.h"
#include "tests/platform/linux/authorization/fake_helper.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/trash_fixture.h"
#include "tests/support/errors.h"
#include "tests/support/time_limit.h"

namespace quorvane::platform::linux_ {
namespace {

using testing::contentOf;
using ::testing::ElementsAre;
using testing::errorFor;
using ::testing::IsEmpty;
namespace disk = std::filesystem;

/// The helper itself, with the rights that the test was started with; only scratch folders are
/// named to it.
class RealHelperTest : public testing::TrashFixture {
protected:
    void SetUp() override {
        QV_NEEDS_SUPERUSER();
        ASSERT_EQ(::setenv("PKEXEC_UID", "1000", 1), 0);
        service_ =
            makeAuthorization(identity, {.pkexec = {}, .helper = QV_HELPER, .passwordAgent = {}});
        const auto inherited = service_->copyPrivilegedReference(kAuthorizationDefaults);
        ASSERT_EQ(inherited.status, kAuthorizationSuccess);
        reference_ = inherited.reference;
    }
    void TearDown() override {
        if (service_) service_->free(reference_, kAuthorizationDefaults);
        EXPECT_TRUE(testing::eventually([] { return !testing::hasChildren(); }));
        ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0); // for leak checkers
    }

    PrivilegedExecution execute(const Path& tool, const Arguments& arguments) {
        return service_->executeWithPrivileges(reference_, tool, kAuthorizationDefaults, arguments);
    }
    /// What the tool prints, once it has ended.
    std::string run(const Path& tool, const Arguments& arguments) {
        const auto execution = execute(tool, arguments);
        if (!execution.pipe) return execution.reason.text;
        std::string text;
        for (int next = 0; (next = execution.pipe->readCharacter()) >= 0;)
            text += static_cast<char>(next);
        return text;
    }
    void expectRefusal(const Path& tool, const Arguments& arguments, int code) {
        const auto execution = execute(tool, arguments);
        EXPECT_EQ(execution.status, kAuthorizationToolExecuteFailure);
        EXPECT_EQ(execution.reason.code, code);
        EXPECT_EQ(execution.reason.text, errorFor(code).text);
    }

    const testing::TimeLimit timeLimit_;
    std::shared_ptr<Authorization> service_;
    AuthorizationRef reference_ = nullptr;
};

TEST_F(RealHelperTest, Moves) {
    const Path item = scratch.addFile("source/a b\n\xff", "content");
    EXPECT_EQ(run("/bin/mv", {"-f", item, scratch / "-moved"}), "");
    EXPECT_FALSE(exists(item));
    EXPECT_EQ(contentOf(scratch / "-moved"), "content");
}

TEST_F(RealHelperTest, HasMovedOnAVolumeByTheTimeItAnswers) {
    const Path item = scratch.addFile("source/tree/below/file", "content");
    const auto execution = execute("/bin/mv", {"-f", source + "/tree/", scratch / "moved"});
    EXPECT_EQ(execution.status, kAuthorizationSuccess);
    EXPECT_EQ(contentOf(scratch / "moved/below/file"), "content");
    EXPECT_FALSE(exists(source + "/tree"));
}

TEST_F(RealHelperTest, Copies) {
    scratch.addFile("source/tree/below/file", "content");
    disk::create_symlink("below", source + "/tree/link");
    EXPECT_EQ(run("/bin/cp", {"-f", "-p", "-R", source + "/tree", scratch / "copy"}), "");
    EXPECT_EQ(contentOf(scratch / "copy/link/file"), "content");
    EXPECT_TRUE(disk::is_symlink(scratch / "copy/link"));
    EXPECT_EQ(contentOf(source + "/tree/below/file"), "content");
}

TEST_F(RealHelperTest, Removes) {
    scratch.addFile("source/tree/below/file");
    disk::create_symlink(source, source + "/tree/link");
    scratch.addFile("source/other");
    EXPECT_EQ(run("/bin/rm", {"-Rdf", source + "/tree"}), "");
    EXPECT_EQ(run("/bin/rm", {"-R", "-f", source + "/missing"}), "");
    EXPECT_THAT(entries(source), ElementsAre("other"));
}

TEST_F(RealHelperTest, MakesFolders) {
    EXPECT_EQ(run("/bin/mkdir", {"-p", source + "//one/./two/three/"}), "");
    EXPECT_TRUE(disk::is_directory(source + "/one/two/three"));
}

TEST_F(RealHelperTest, Touches) {
    const Path item = scratch.addFile("source/item");
    const auto long_ago = disk::last_write_time(item) - std::chrono::hours(1000);
    disk::last_write_time(item, long_ago);
    EXPECT_EQ(run("/usr/bin/touch", {"-c", item}), "");
    EXPECT_GT(disk::last_write_time(item), long_ago);
}

TEST_F(RealHelperTest, RefusesWhatItDoesNotDo) {
    const Path item = scratch.addFile("source/item");
    expectRefusal("/bin/dd", {item}, EPERM);
    expectRefusal("/bin/rm", {item}, EINVAL);
    expectRefusal("/bin/rm", {"-Rdf", item, item}, EINVAL);
    expectRefusal("/bin/rm", {"-Rdf", "item"}, EINVAL);
    expectRefusal("/bin/rm", {"-Rdf", source + "/../source/item"}, EINVAL);
    expectRefusal("/bin/rm", {"-Rdf", source + "/missing/item"}, ENOENT);
    expectRefusal("/bin/rm", {"-Rdf", item + "/below"}, ENOTDIR);
    EXPECT_EQ(run("/bin/rm", {"-Rdf", item}), ""); // and goes on
    EXPECT_FALSE(exists(item));
}

TEST_F(RealHelperTest, FollowsNoLinkThatOthersCouldHaveMade) {
    scratch.addFile("source/item");
    disk::create_directory_symlink(source, scratch / "link"); // in a folder for temporary items
    expectRefusal("/bin/rm", {"-Rdf", scratch / "link/item"}, ELOOP);
    EXPECT_THAT(entries(source), ElementsAre("item"));
}

TEST_F(RealHelperTest, FollowsTheSuperusersLinks) {
    // A thread can have mounts of its own, and so has the helper that it starts.
    std::thread([this] {
        ASSERT_EQ(::unshare(CLONE_NEWNS), 0);
        ASSERT_EQ(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
        testing::mountVolume("tmpfs", "/mnt", "mode=755");
        disk::create_directories("/mnt/real/folder");
        disk::create_directory_symlink("real", "/mnt/link");
        EXPECT_EQ(run("/bin/rm", {"-Rdf", "/mnt/link/folder"}), "");
        EXPECT_THAT(entries("/mnt/real"), IsEmpty());
    }).join();
}

TEST_F(RealHelperTest, PutsItemsIntoTheTrashSoThatTheyCanBePutBack) {
    // The Trash stands from now on.
    trash.withdraw(trash.announce(source + "/x", files + "/x"));
    scratch.addFile("source/Notes.app/Contents/file", "content");
    EXPECT_EQ(run("/bin/mv", {"-f", source + "/Notes.app", scratch / "home/.Trash/Notes.app"}), "");
    EXPECT_EQ(contentOf(files + "/Notes.app/Contents/file"), "content");
    EXPECT_EQ(pathLine(infos + "/Notes.app.trashinfo"), "Path=" + source + "/Notes.app");

    run("/bin/mv", {"-f", source + "/missing", scratch / "home/.Trash/missing"});
    EXPECT_THAT(entries(infos), ElementsAre("Notes.app.trashinfo"));
}

TEST_F(RealHelperTest, ReplacesNothingInTheTrash) {
    // As the kit asks for several items of one name that are moved within a second.
    trash.withdraw(trash.announce(source + "/x", files + "/x"));
    disk::create_symlink("nowhere", files + "/Notes_20260101000000.app");
    scratch.addFile("home/.local/share/Trash/info/Notes_20260101000000.app.trashinfo",
                    "the link's");
    for (const std::string number : {"1", "2", "3"}) {
        scratch.addFile("source/" + number + "/Notes.app/Contents/" + number);
        EXPECT_EQ(run("/bin/mv", {"-f", source + "/" + number + "/Notes.app",
                                  scratch / "home/.Trash/Notes_20260101000000.app"}),
                  "");
        EXPECT_FALSE(exists(source + "/" + number + "/Notes.app"));
    }
    EXPECT_EQ(entries(files).size(), 4U);
    EXPECT_EQ(entries(infos).size(), 4U);
    EXPECT_TRUE(disk::is_symlink(files + "/Notes_20260101000000.app"));
    EXPECT_EQ(contentOf(infos + "/Notes_20260101000000.app.trashinfo"), "the link's");
    for (const std::string number : {"1", "2", "3"}) {
        const Path name = "/Notes_20260101000000." + std::to_string(std::stoi(number) + 1) + ".app";
        EXPECT_TRUE(exists(files + name + "/Contents/" + number)) << name;
        EXPECT_EQ(pathLine(infos + name + ".trashinfo"),
                  "Path=" + source + "/" + number + "/Notes.app");
    }
}

TEST_F(RealHelperTest, IsSilentAboutToolsThatFail) {
    EXPECT_EQ(run("/bin/cp", {"-f", "-p", "-R", source + "/missing", scratch / "copy"}), "");
    EXPECT_FALSE(exists(scratch / "copy"));
}

TEST_F(RealHelperTest, ServesManyThreadsWithoutCostingDescriptors) {
    run("/bin/mkdir", {"-p", source + "/first"});
    const std::size_t before = testing::openDescriptors();
    std::vector<std::thread> threads;
    for (const std::string name : {"a", "b", "c"})
        threads.emplace_back([this, name] {
            std::vector<std::unique_ptr<CommunicationsPipe>> kept;
            for (int count = 0; count < 50; ++count) {
                auto execution =
                    execute("/bin/mkdir", {"-p", source + "/" + name + std::to_string(count)});
                ASSERT_EQ(execution.status, kAuthorizationSuccess);
                kept.push_back(std::move(execution.pipe));
            }
            for (const auto& pipe : kept) EXPECT_EQ(pipe->readCharacter(), -1);
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(entries(source).size(), 151U);
    run("/bin/mkdir", {"-p", source + "/last"});
    EXPECT_EQ(testing::openDescriptors(), before);
}

} // namespace
} // namespace quorvane::platform::linux_
