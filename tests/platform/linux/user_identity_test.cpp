#include "platform/linux/user_identity.h"

#include <gmock/gmock.h>
#include <pwd.h>
#include <sys/mount.h>
#include <unistd.h>

#include <regex>
#include <set>

#include "platform/linux/accounts.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::platform::linux_ {
namespace {

std::string pid() { return std::to_string(::getpid()); }

class UserIdentityTest : public ::testing::Test {
protected:
    LinuxUserIdentity identity;
    const passwd* entry = ::getpwuid(::getuid());
};

TEST_F(UserIdentityTest, TheProcesssUserComesFromTheUserDatabase) {
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(identity.realUserId(), ::getuid());
    EXPECT_EQ(identity.userName(), MaybeText(entry->pw_name));
    EXPECT_EQ(identity.homeDirectoryForUser(entry->pw_name), MaybePath(entry->pw_dir));
}

TEST_F(UserIdentityTest, UnknownAndNullUsersHaveNoHome) {
    EXPECT_EQ(identity.homeDirectoryForUser("no such user"), std::nullopt);
    EXPECT_EQ(identity.homeDirectoryForUser(std::nullopt), std::nullopt);
}

TEST_F(UserIdentityTest, TheHomeIsTheEnvironmentsIfAbsolute) {
    ASSERT_NE(entry, nullptr);
    ::setenv("HOME", "/Users/anna", 1);
    EXPECT_EQ(identity.homeDirectory(), MaybePath("/Users/anna"));
    for (const char* unusable : {"", "relative"}) {
        ::setenv("HOME", unusable, 1);
        EXPECT_EQ(identity.homeDirectory(), MaybePath(entry->pw_dir));
    }
    ::unsetenv("HOME");
    EXPECT_EQ(identity.homeDirectory(), MaybePath(entry->pw_dir));
}

TEST_F(UserIdentityTest, TheHomeIsSpeltPlainly) {
    for (const char* home : {"/Users/anna/", "/Users//anna", "//Users/./anna//", "/Users/anna/."}) {
        ::setenv("HOME", home, 1);
        EXPECT_EQ(identity.homeDirectory(), MaybePath("/Users/anna")) << home;
    }
    // What leads up is not resolved: there may be links.
    ::setenv("HOME", "/Users/link/../anna/", 1);
    EXPECT_EQ(identity.homeDirectory(), MaybePath("/Users/link/../anna"));
    ::setenv("HOME", "//", 1);
    EXPECT_EQ(identity.homeDirectory(), MaybePath("/"));
}

/// The user database says it in the same way.
TEST_F(UserIdentityTest, TheHomesOfTheUserDatabaseAreSpeltPlainlyToo) {
    QV_NEEDS_SUPERUSER();
    const quorvane::testing::ScratchFolder scratch;
    const Path accounts = scratch.addFile("passwd", "root:x:0:0::/root//:/bin/sh\n"
                                                    "anna:x:1000:1000::/Users/./anna/:/bin/sh\n"
                                                    "carl:x:1001:1001::home/carl/:/bin/sh\n"
                                                    "dora:x:1002:1002:::/bin/sh\n");
    quorvane::testing::inPrivateMounts([&] {
        ASSERT_EQ(::mount(accounts.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr), 0);
        ::unsetenv("HOME");
        EXPECT_EQ(identity.homeDirectory(), MaybePath("/root"));
        EXPECT_EQ(identity.homeDirectoryForUser("anna"), MaybePath("/Users/anna"));
        EXPECT_EQ(identity.homeDirectoryForUser("carl"), MaybePath("home/carl/"));
        EXPECT_EQ(identity.homeDirectoryForUser("dora"), MaybePath(""));
    });
}

TEST_F(UserIdentityTest, TheTemporaryFolderIsSpeltAsTheEnvironmentDoes) {
    ::setenv("TMPDIR", "/run/user/1000/tmp/", 1);
    EXPECT_EQ(identity.temporaryDirectory(), MaybePath("/run/user/1000/tmp/"));
    ::setenv("TMPDIR", "relative", 1);
    EXPECT_EQ(identity.temporaryDirectory(), MaybePath("/tmp"));
    ::unsetenv("TMPDIR");
    EXPECT_EQ(identity.temporaryDirectory(), MaybePath("/tmp"));
}

TEST_F(UserIdentityTest, UniqueStringsHoldAUuidTheProcessAndACounter) {
    const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}-" +
                          pid() + "-[0-9A-F]{16}");
    std::set<std::string> seen;
    for (int count = 0; count < 1000; ++count) {
        const std::string text = identity.globallyUniqueString();
        EXPECT_TRUE(std::regex_match(text, form)) << text;
        seen.insert(text);
    }
    EXPECT_EQ(seen.size(), 1000U);
}

TEST(Accounts, TheGroupsStartWithTheAccountsOwn) {
    const auto account = accountWithId(::getuid());
    ASSERT_TRUE(account);
    EXPECT_EQ(accountNamed(account->name)->uid, account->uid);
    const auto groups = groupsOf(*account);
    ASSERT_FALSE(groups.empty());
    EXPECT_EQ(groups.front(), account->gid);
}

} // namespace
} // namespace quorvane::platform::linux_
