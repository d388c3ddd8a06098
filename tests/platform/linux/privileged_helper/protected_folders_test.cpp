#include "platform/linux/privileged_helper/protected_folders.h"

#include "platform/linux/privileged_helper/jobs.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>

#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::platform::linux_::helper {
namespace {

using quorvane::testing::ScratchFolder;

bool isProtected(const std::string& path) {
    const ProtectedFolders folders(::geteuid());
    const Place place = openPlace(path.c_str(), MakeMissing::no);
    return folders.contains(path.c_str(), place);
}

TEST(ProtectedFolders, AreTheMachinesOwn) {
    for (const char* path :
         {"/usr", "/var", "/bin", "/sbin", "/etc", "/home", "/System", "/System/Library",
          "/Applications", "/Library", "/Library/Caches", "/Library/Preferences",
          "/Library/Application Support", "/Users", "/Users/Shared", "/usr/local", "/private"})
        EXPECT_TRUE(isProtected(path)) << path;
}

TEST(ProtectedFolders, AreTheUsersOwn) {
    const std::string home = ::getpwuid(::geteuid())->pw_dir;
    for (const char* name : {"", "/Applications", "/Desktop", "/Documents", "/Library",
                             "/Library/Caches", "/Library/Preferences", "/.Trash"})
        EXPECT_TRUE(isProtected(home + name)) << home + name;
}

TEST(ProtectedFolders, HoldItemsThatAreNot) {
    for (const char* path : {"/Applications/A.app", "/Library/Preferences/com.a.plist",
                             "/usr/local/x", "/var/x", "/Libraryx", "/Librar"})
        EXPECT_FALSE(isProtected(path)) << path;
}

TEST(ProtectedFolders, AreKnownByOtherPathsToo) {
    // Where the old folders are links, their targets are meant.
    if (std::filesystem::is_symlink("/bin")) {
        EXPECT_TRUE(isProtected("/usr/bin"));
    }
}

TEST(ProtectedFolders, AreKnownWhereTheyAreMountedAgain) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    const Path elsewhere = scratch.addFolder("elsewhere");
    testing::inPrivateMounts([&] {
        ASSERT_EQ(::mount("/etc", elsewhere.c_str(), nullptr, MS_BIND, nullptr), 0);
        EXPECT_TRUE(isProtected(elsewhere));
    });
    EXPECT_FALSE(isProtected(elsewhere));
}

TEST(ProtectedFolders, AreThoseThatTheUserChoseAndThoseAboveTheHome) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    const Path home = scratch.addFolder("homes/anna");
    scratch.addFile("homes/anna/.config/user-dirs.dirs",
                    "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n");
    scratch.addFolder("homes/anna/Schreibtisch");
    const std::string number = std::to_string(::geteuid());
    const Path accounts = scratch.addFile("passwd", "anna:x:" + number + ":0::" + home + ":/\n");
    testing::inPrivateMounts([&] {
        ASSERT_EQ(::mount(accounts.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr), 0);
        EXPECT_TRUE(isProtected(home + "/Schreibtisch"));
        EXPECT_TRUE(isProtected(home));
        EXPECT_TRUE(isProtected(scratch / "homes"));
        EXPECT_TRUE(isProtected(scratch.path()));
        EXPECT_FALSE(isProtected(home + "/Schreibtisch/item"));
        EXPECT_FALSE(isProtected(scratch / "homes/ann"));
    });
}

TEST(ProtectedFolders, AreThoseOfAHomeOfOddSlashes) {
    QV_NEEDS_SUPERUSER();
    const std::string number = std::to_string(::geteuid());
    const ScratchFolder scratch;
    // None of these stands, so they are known by their paths alone.
    const Path accounts =
        scratch.addFile("passwd", "anna:x:" + number + ":0:://Missing/./homes//anna/:/\n");
    testing::inPrivateMounts([&] {
        ASSERT_EQ(::mount(accounts.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr), 0);
        for (const char* path : {"/Missing", "/Missing/homes", "/Missing/homes/anna",
                                 "/Missing/homes/anna/Library", "/Missing/homes/anna/.Trash"})
            EXPECT_TRUE(isProtected(path)) << path;
        EXPECT_FALSE(isProtected("/Missing/homes/anna/item"));
    });
}

TEST(ProtectedFolders, AreNotReplacedByCopies) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    const Path file = scratch.addFile("file");
    const Path home = scratch.addFolder("home");
    std::filesystem::create_directory_symlink(scratch.path(), home + "/Documents");
    const std::string number = std::to_string(::geteuid());
    const Path accounts = scratch.addFile("passwd", "anna:x:" + number + ":0::" + home + ":/\n");
    testing::inPrivateMounts([&] {
        ASSERT_EQ(::mount(accounts.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr), 0);
        const std::string documents = home + "/Documents";
        const Command command{.job = Job::copy,
                              .tool = "/bin/cp",
                              .operandCount = 2,
                              .operands = {file.c_str(), documents.c_str()}};
        const ProtectedFolders protectedFolders(::geteuid());
        EXPECT_EQ(start(command, &protectedFolders, -1).error, EPERM);
        EXPECT_TRUE(std::filesystem::is_symlink(documents));
    });
}

} // namespace
} // namespace quorvane::platform::linux_::helper
