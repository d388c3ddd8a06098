#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/privileged_helper/helper_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::platform::linux_::helper {
namespace {

using quorvane::testing::contentOf;
using quorvane::testing::HelperProcess;
using quorvane::testing::Reply;
using quorvane::testing::ScratchFolder;
namespace fs = std::filesystem;

TEST(PrivilegedHelper, EndsWhenItsClientHangsUp) { EXPECT_TRUE(HelperProcess().end()); }

TEST(PrivilegedHelper, ServesNobodyButTheUserWhoAuthenticated) {
    HelperProcess helper(::geteuid() + 1);
    EXPECT_FALSE(helper.receive());
    EXPECT_FALSE(helper.end());
}

TEST(PrivilegedHelper, Removes) {
    const ScratchFolder scratch;
    scratch.addFile("folder/deep/file");
    scratch.addFile("target/file");
    fs::create_symlink("target", scratch / "link");
    HelperProcess helper;
    EXPECT_EQ(helper.run({"/bin/rm", "-Rdf", scratch / "folder"}), 0);
    EXPECT_EQ(helper.run({"/bin/rm", "-R", "-f", scratch / "link"}), 0);
    EXPECT_FALSE(fs::exists(scratch / "folder"));
    EXPECT_FALSE(fs::is_symlink(scratch / "link"));
    EXPECT_TRUE(fs::exists(scratch / "target/file"));
}

TEST(PrivilegedHelper, RemovesEmptyFoldersWithTheDesktopsMetadata) {
    const ScratchFolder scratch;
    scratch.addFile("folder/deep/.DS_Store");
    scratch.addFolder("folder/empty");
    HelperProcess helper;
    EXPECT_EQ(helper.run({"/bin/rmdir", scratch / "folder"}), 0);
    EXPECT_FALSE(fs::exists(scratch / "folder"));
}

TEST(PrivilegedHelper, RemovesEmptyFoldersOfAnybody) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    scratch.addFolder("folder/closed");
    ASSERT_EQ(::chown((scratch / "folder/closed").c_str(), testing::kOrdinaryUser, 0), 0);
    fs::permissions(scratch / "folder/closed", fs::perms::none);
    fs::permissions(scratch / "folder", fs::perms::none);
    HelperProcess helper;
    EXPECT_EQ(helper.run({"/bin/rmdir", scratch / "folder"}), 0);
    EXPECT_FALSE(fs::exists(scratch / "folder"));
}

TEST(PrivilegedHelper, SaysWhyItRemovesNoFolderThatHoldsAnything) {
    const ScratchFolder scratch;
    scratch.addFile("full/deep/film.mov", "kept");
    scratch.addFile("full/.DS_Store", "kept");
    scratch.addFolder("full/empty");
    scratch.addFile("file", "kept");
    scratch.addFolder("target");
    fs::create_directory_symlink("target", scratch / "link");
    HelperProcess helper;
    EXPECT_EQ(helper.refusal({"/bin/rmdir", scratch / "full"}), ENOTEMPTY);
    EXPECT_EQ(helper.refusal({"/bin/rmdir", scratch / "file"}), ENOTDIR);
    EXPECT_EQ(helper.refusal({"/bin/rmdir", scratch / "link"}), ENOTDIR);
    EXPECT_EQ(helper.refusal({"/bin/rmdir", scratch / "link/below"}), ELOOP);
    EXPECT_EQ(helper.refusal({"/bin/rmdir", scratch / "missing"}), ENOENT);
    EXPECT_EQ(contentOf(scratch / "full/deep/film.mov"), "kept");
    EXPECT_EQ(contentOf(scratch / "full/.DS_Store"), "kept");
    EXPECT_EQ(contentOf(scratch / "file"), "kept");
    EXPECT_TRUE(fs::exists(scratch / "full/empty"));
    EXPECT_TRUE(fs::exists(scratch / "target"));
}

TEST(PrivilegedHelper, MovesAndReplaces) {
    const ScratchFolder scratch;
    scratch.addFile("a b\n", "new");
    scratch.addFile("-f", "old");
    HelperProcess helper;
    EXPECT_EQ(helper.run({"/bin/mv", "-f", scratch / "a b\n", scratch / "-f"}), 0);
    EXPECT_EQ(contentOf(scratch / "-f"), "new");
    EXPECT_FALSE(fs::exists(scratch / "a b\n"));
}

TEST(PrivilegedHelper, NeverMovesIntoAFolderAtTheDestination) {
    const ScratchFolder scratch;
    scratch.addFile("A.app/new");
    scratch.addFile("trash/A.app/old");
    HelperProcess helper;
    EXPECT_EQ(helper.refusal({"/bin/mv", "-f", scratch / "A.app", scratch / "trash/A.app"}),
              EISDIR);
    EXPECT_TRUE(fs::exists(scratch / "A.app/new"));
    EXPECT_FALSE(fs::exists(scratch / "trash/A.app/A.app"));
}

TEST(PrivilegedHelper, ReplacesALinkAtTheDestinationAndNotItsTarget) {
    const ScratchFolder scratch;
    scratch.addFile("new", "new");
    scratch.addFolder("target");
    fs::create_directory_symlink("target", scratch / "link");
    HelperProcess helper;
    EXPECT_EQ(helper.run({"/bin/mv", "-f", scratch / "new", scratch / "link"}), 0);
    EXPECT_EQ(contentOf(scratch / "link"), "new");
    EXPECT_TRUE(fs::is_empty(scratch / "target"));
}

TEST(PrivilegedHelper, MakesFoldersForEverybodyToRead) {
    const ScratchFolder scratch;
    HelperProcess helper;
    EXPECT_EQ(helper.run({"/bin/mkdir", "-p", scratch / "a/b/c"}), 0);
    EXPECT_EQ(helper.run({"/bin/mkdir", "-p", scratch / "a/b/c"}), 0);
    for (const char* folder : {"a", "a/b"}) {
        struct stat status {};
        ASSERT_EQ(::stat((scratch / folder).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & ALLPERMS, 0755U & ~::umask(022)) << folder;
    }
    EXPECT_TRUE(fs::is_directory(scratch / "a/b/c"));
}

TEST(PrivilegedHelper, TouchesWhatExistsAndTheLinkItself) {
    const ScratchFolder scratch;
    const auto old = fs::file_time_type::clock::now() - std::chrono::hours(9);
    for (const char* name : {"file", "target"}) fs::last_write_time(scratch.addFile(name), old);
    fs::create_symlink("target", scratch / "link");
    HelperProcess helper;
    for (const char* name : {"file", "link", "missing"})
        EXPECT_EQ(helper.run({"/usr/bin/touch", "-c", scratch / name}), 0) << name;
    EXPECT_GT(fs::last_write_time(scratch / "file"), old);
    EXPECT_EQ(fs::last_write_time(scratch / "target"), old);
    EXPECT_FALSE(fs::exists(scratch / "missing"));
}

TEST(PrivilegedHelper, AnswersTheStatusOfAToolThatFails) {
    const ScratchFolder scratch;
    scratch.addFile("file");
    HelperProcess helper;
    EXPECT_EQ(helper.run({"/bin/mkdir", "-p", scratch / "file"}), 1);
}

TEST(PrivilegedHelper, AnswersTheReasonOfARefusal) {
    const ScratchFolder scratch;
    scratch.addFile("target/file");
    fs::create_symlink("target", scratch / "link");
    HelperProcess helper;
    EXPECT_EQ(helper.refusal({"/bin/sh", "-c", "true"}), EPERM);
    EXPECT_EQ(helper.refusal({"/bin/rm", "-Rdf", "relative"}), EINVAL);
    EXPECT_EQ(helper.refusal({"/bin/rm", "-Rdf", scratch / "link/file"}), ELOOP);
    EXPECT_EQ(helper.refusal({"/bin/rm", "-Rdf", scratch / "none/x"}), ENOENT);
    EXPECT_EQ(helper.run({"/bin/rm", "-Rdf", scratch / "link"}), 0) << "it goes on after them";
}

TEST(PrivilegedHelper, RefusesProtectedFolders) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    const auto item = scratch.addFile("item");
    testing::inPrivateMounts([&] {
        testing::mountVolume("tmpfs", "/srv"); // whatever happens, it is this one
        HelperProcess helper;
        EXPECT_EQ(helper.refusal({"/bin/rm", "-Rdf", "/srv"}), EPERM);
        EXPECT_EQ(helper.refusal({"/bin/rm", "-R", "-f", "/srv"}), EPERM);
        EXPECT_EQ(helper.refusal({"/bin/rmdir", "/srv"}), EPERM);
        EXPECT_EQ(helper.refusal({"/bin/mv", "-f", "/srv", scratch / "srv"}), EPERM);
        EXPECT_EQ(helper.refusal({"/bin/mv", "-f", item, "/srv"}), EPERM);
    });
}

TEST(PrivilegedHelper, ServesManyRequests) {
    const ScratchFolder scratch;
    HelperProcess helper;
    for (int number = 0; number < 300; ++number) {
        const std::string file = scratch.addFile(std::to_string(number));
        ASSERT_EQ(helper.run({"/bin/rm", "-Rdf", file}), 0);
    }
    EXPECT_TRUE(helper.end());
}

TEST(PrivilegedHelper, GivesASlowToolsOutputAndLetsItFinish) {
    const ScratchFolder scratch;
    for (int number = 0; number < 40000; ++number) scratch.addFile("big/" + std::to_string(number));
    HelperProcess helper;
    const Reply reply = helper.ask({"/bin/rm", "-Rdf", scratch / "big"});
    ASSERT_EQ(reply.answer.kind, AnswerKind::started);
    ASSERT_TRUE(reply.output);
    EXPECT_TRUE(helper.end());
    EXPECT_EQ(reply.text(), "");
    EXPECT_FALSE(fs::exists(scratch / "big"));
}

} // namespace
} // namespace quorvane::platform::linux_::helper
