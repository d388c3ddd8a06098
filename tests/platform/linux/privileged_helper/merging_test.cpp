// Copies onto folders of the superuser's.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>

#include "tests/platform/linux/access_lists.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/folder_chain.h"
#include "tests/platform/linux/privileged_helper/helper_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::UnorderedElementsAre;

class Merging : public ::testing::Test {
protected:
    void SetUp() override {
        QV_NEEDS_SUPERUSER();
        scratch_.addFolder("to");
    }
    /// Copies the source onto the folder; answers the exit status.
    int copy() {
        return helper_.run({"/bin/cp", "-f", "-p", "-R", scratch_ / "from", scratch_ / "to"});
    }
    Path usersFolder(std::string_view name, mode_t mode) const {
        Path folder = scratch_.addFolder(name);
        EXPECT_EQ(chown(folder.c_str(), kOrdinaryUser, kOrdinaryUser), 0);
        EXPECT_EQ(chmod(folder.c_str(), mode), 0);
        return folder;
    }
    struct stat statusOf(std::string_view relative) const {
        struct stat status {};
        EXPECT_EQ(lstat((scratch_ / relative).c_str(), &status), 0) << relative;
        return status;
    }
    std::vector<std::string> names(std::string_view folder) const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(scratch_ / folder))
            found.push_back(entry.path().filename());
        return found;
    }

    ScratchFolder scratch_;
    HelperProcess helper_;
};

TEST_F(Merging, LeavesFoldersThatExistAsTheyAre) {
    QV_NEEDS_ACCESS_LISTS(scratch_.path());
    usersFolder("from", 0777);
    usersFolder("from/both", 0777);
    usersFolder("from/empty", 0777);
    ASSERT_TRUE(giveList(scratch_ / "from/both", kDefaultList, listFor(kOrdinaryUser)));
    ASSERT_TRUE(giveList(scratch_ / "from/both", kAccessList, listFor(kOrdinaryUser)));
    ASSERT_EQ(setxattr((scratch_ / "from").c_str(), "user.note", "x", 1, 0), 0);
    scratch_.addFile("from/both/new", "new");
    scratch_.addFolder("to/both");
    scratch_.addFolder("to/empty");
    const std::array<timespec, 2> times = {timespec{1, 0}, timespec{1'000'000'000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, (scratch_ / "to/empty").c_str(), times.data(), 0), 0);
    EXPECT_EQ(copy(), 0);
    EXPECT_EQ(contentOf(scratch_ / "to/both/new"), "new");
    for (const char* folder : {"to", "to/both", "to/empty"}) {
        const struct stat status = statusOf(folder);
        EXPECT_EQ(status.st_uid, 0U) << folder;
        EXPECT_EQ(status.st_gid, 0U) << folder;
        EXPECT_EQ(status.st_mode & 07777U, 0755U) << folder;
        for (const char* name : {kAccessList, kDefaultList, "user.note"})
            EXPECT_FALSE(hasAttribute(scratch_ / folder, name)) << folder;
    }
    EXPECT_EQ(statusOf("to/empty").st_mtim.tv_sec, 1'000'000'000);
}

TEST_F(Merging, KeepsWhatBelongsToNewItems) {
    usersFolder("from", 0700);
    usersFolder("from/new", 0750);
    const Path file = scratch_.addFile("from/file", "new");
    ASSERT_EQ(chown(file.c_str(), kOrdinaryUser, kOrdinaryUser), 0);
    ASSERT_EQ(chmod(file.c_str(), 0640), 0);
    scratch_.addFile("to/file", "old");
    EXPECT_EQ(copy(), 0);
    EXPECT_EQ(contentOf(scratch_ / "to/file"), "new");
    EXPECT_EQ(statusOf("to/file").st_uid, kOrdinaryUser);
    EXPECT_EQ(statusOf("to/file").st_mode & 07777U, 0640U);
    EXPECT_EQ(statusOf("to/new").st_uid, kOrdinaryUser);
    EXPECT_EQ(statusOf("to/new").st_mode & 07777U, 0750U);
}

TEST_F(Merging, ReplacesFilesAndLinksAndWritesThroughNeither) {
    for (const char* name : {"from/link", "from/linked"}) scratch_.addFile(name, "new");
    const Path victim = scratch_.addFile("victim", "untouched");
    fs::create_symlink(victim, scratch_ / "to/link");
    fs::create_hard_link(victim, scratch_ / "to/linked");
    EXPECT_EQ(copy(), 0);
    for (const char* name : {"to/link", "to/linked"}) EXPECT_EQ(contentOf(scratch_ / name), "new");
    EXPECT_EQ(contentOf(victim), "untouched");
}

TEST_F(Merging, GoesIntoNoFolderThroughALink) {
    scratch_.addFile("from/folder/new");
    scratch_.addFile("from/other", "new");
    fs::create_directory_symlink(scratch_.addFolder("victim"), scratch_ / "to/folder");
    copy();
    EXPECT_TRUE(fs::is_empty(scratch_ / "victim"));
    EXPECT_EQ(contentOf(scratch_ / "to/other"), "new") << "the rest is copied";
    EXPECT_THAT(names("to"), UnorderedElementsAre("folder", "other"));
    EXPECT_EQ(names(".").size(), 3U) << "nothing else is left";
}

TEST_F(Merging, ReplacesNoFolderByAFileNorAFileByAFolder) {
    scratch_.addFile("from/folder", "a file here");
    scratch_.addFile("from/file/below", "a folder here");
    scratch_.addFile("from/other", "new");
    scratch_.addFile("to/folder/old");
    scratch_.addFile("to/file", "old");
    copy();
    EXPECT_TRUE(fs::exists(scratch_ / "to/folder/old"));
    EXPECT_EQ(contentOf(scratch_ / "to/file"), "old");
    EXPECT_EQ(contentOf(scratch_ / "to/other"), "new");
    EXPECT_EQ(names(".").size(), 2U);
}

TEST_F(Merging, TakesNamesOfAnyBytesAndTheGreatestLength) {
    const std::string longest(255, 'n');
    for (const std::string& name : {longest, std::string("\xff\n-x")}) {
        scratch_.addFile("from/" + name + "/new", "new");
        scratch_.addFile("to/" + name + "/old", "old");
    }
    EXPECT_EQ(copy(), 0);
    EXPECT_THAT(names("to/" + longest), UnorderedElementsAre("new", "old"));
    EXPECT_THAT(names("to/\xff\n-x"), UnorderedElementsAre("new", "old"));
}

TEST_F(Merging, OfADeepTreeTakesFewDescriptors) {
    addChain(scratch_ / "to", 300, ChainHolds::folders);
    addChain(scratch_.addFolder("from"), 300, ChainHolds::foldersAndFiles);
    EXPECT_EQ(copy(), 0);
    std::size_t files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(scratch_ / "to"))
        if (entry.is_regular_file()) ++files;
    EXPECT_GE(files, 299U);
}

} // namespace
} // namespace quorvane::testing
