#include "platform/linux/standard_directories.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <array>

#include "tests/platform/linux/scratch_folder.h"
#include "tests/platform/linux/stub_identity.h"

namespace quorvane::platform::linux_ {
namespace {

using quorvane::testing::ScratchFolder;
using quorvane::testing::StubIdentity;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StandardDirectoriesTest : public ::testing::Test {
protected:
    StandardDirectoriesTest() {
        ::unsetenv("XDG_CONFIG_HOME");
        ::unsetenv("XDG_CACHE_HOME");
        identity->home = home;
        identity->homes["anna"] = home;
    }

    std::vector<Path> paths(DirectoryKind kind, Domain domain) {
        return directories.searchPaths(kind, domain);
    }
    Path inHome(const char* name) const { return home + "/" + name; }

    ScratchFolder scratch;
    Path home = scratch.path();
    std::shared_ptr<StubIdentity> identity = std::make_shared<StubIdentity>();
    LinuxStandardDirectories directories{identity};
};

TEST_F(StandardDirectoriesTest, MachineWideFolders) {
    EXPECT_THAT(paths(DirectoryKind::applications, Domain::local), ElementsAre("/Applications"));
    EXPECT_THAT(paths(DirectoryKind::adminApplications, Domain::local),
                ElementsAre("/Applications/Utilities"));
    EXPECT_THAT(paths(DirectoryKind::library, Domain::local), ElementsAre("/Library"));
    EXPECT_THAT(paths(DirectoryKind::documentation, Domain::local),
                ElementsAre("/Library/Documentation"));
    EXPECT_THAT(paths(DirectoryKind::caches, Domain::local), ElementsAre("/Library/Caches"));
    EXPECT_THAT(paths(DirectoryKind::applicationSupport, Domain::local),
                ElementsAre("/Library/Application Support"));
    EXPECT_THAT(paths(DirectoryKind::library, Domain::system), ElementsAre("/System/Library"));
}

TEST_F(StandardDirectoriesTest, OnlyUsersHaveDocumentsDesktopAndMovies) {
    for (const auto kind :
         {DirectoryKind::documents, DirectoryKind::desktop, DirectoryKind::movies}) {
        EXPECT_THAT(paths(kind, Domain::local), IsEmpty());
        EXPECT_THAT(paths(kind, Domain::system), IsEmpty());
    }
}

TEST_F(StandardDirectoriesTest, UserFoldersStandBelowTheHome) {
    EXPECT_THAT(paths(DirectoryKind::applications, Domain::user),
                ElementsAre(inHome("Applications")));
    EXPECT_THAT(paths(DirectoryKind::library, Domain::user), ElementsAre(inHome("Library")));
    EXPECT_THAT(paths(DirectoryKind::caches, Domain::user), ElementsAre(inHome("Library/Caches")));
    EXPECT_THAT(paths(DirectoryKind::applicationSupport, Domain::user),
                ElementsAre(inHome("Library/Application Support")));
    EXPECT_THAT(paths(DirectoryKind::documents, Domain::user), ElementsAre(inHome("Documents")));
    EXPECT_THAT(paths(DirectoryKind::desktop, Domain::user), ElementsAre(inHome("Desktop")));
    EXPECT_THAT(paths(DirectoryKind::movies, Domain::user), ElementsAre(inHome("Movies")));
}

TEST_F(StandardDirectoriesTest, ASlashBehindTheHomeIsNotDoubled) {
    identity->home = home + "/";
    EXPECT_THAT(paths(DirectoryKind::library, Domain::user), ElementsAre(inHome("Library")));
}

TEST_F(StandardDirectoriesTest, AHomeOfOddSlashesIsSpeltPlainly) {
    scratch.addFile(".config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME//./Schreibtisch\"\n");
    identity->home = "/" + home + "/./";
    identity->homes["anna"] = *identity->home;
    EXPECT_THAT(paths(DirectoryKind::library, Domain::user), ElementsAre(inHome("Library")));
    EXPECT_THAT(paths(DirectoryKind::desktop, Domain::user), ElementsAre(inHome("Schreibtisch")));
    identity->userId = kSuperuserId;
    EXPECT_THAT(paths(DirectoryKind::desktop, Domain::user), ElementsAre("/var/root/Schreibtisch"));
}

TEST_F(StandardDirectoriesTest, AHomeAtTheRootDoublesNoSlash) {
    identity->home = "/";
    EXPECT_THAT(paths(DirectoryKind::library, Domain::user), ElementsAre("/Library"));
}

TEST_F(StandardDirectoriesTest, SeveralDomainsAreAnsweredUserFirst) {
    EXPECT_THAT(paths(DirectoryKind::library, static_cast<Domain>(1 | 2 | 8)),
                ElementsAre(inHome("Library"), "/Library", "/System/Library"));
}

TEST_F(StandardDirectoriesTest, UnknownKindsAndDomainsAndAMissingHomeAreEmpty) {
    EXPECT_THAT(paths(static_cast<DirectoryKind>(99), Domain::local), IsEmpty());
    EXPECT_THAT(paths(DirectoryKind::library, static_cast<Domain>(0)), IsEmpty());
    identity->home.reset();
    EXPECT_THAT(paths(DirectoryKind::library, Domain::user), IsEmpty());
}

TEST_F(StandardDirectoriesTest, FoldersFollowTheUsersChoice) {
    scratch.addFile(".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"/data/Papers\"\n"
                                              "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n"
                                              "XDG_VIDEOS_DIR=\"$HOME/\"\n");
    EXPECT_THAT(paths(DirectoryKind::documents, Domain::user), ElementsAre("/data/Papers"));
    EXPECT_THAT(paths(DirectoryKind::desktop, Domain::user), ElementsAre(inHome("Schreibtisch")));
    EXPECT_THAT(paths(DirectoryKind::movies, Domain::user), ElementsAre(inHome("Movies")));
}

TEST_F(StandardDirectoriesTest, TheChoiceIsReadFromTheConfigurationFolderOfTheEnvironment) {
    scratch.addFile("elsewhere/user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME/D\"\n");
    ::setenv("XDG_CONFIG_HOME", (scratch / "elsewhere").c_str(), 1);
    EXPECT_THAT(paths(DirectoryKind::desktop, Domain::user), ElementsAre(inHome("D")));
}

TEST_F(StandardDirectoriesTest, TheSuperusersHomeIsVarRoot) {
    identity->userId = kSuperuserId;
    EXPECT_THAT(paths(DirectoryKind::library, Domain::user), ElementsAre("/var/root/Library"));
    EXPECT_THAT(paths(DirectoryKind::library, Domain::local), ElementsAre("/Library"));
    EXPECT_THAT(paths(DirectoryKind::desktop, Domain::user), ElementsAre("/var/root/Desktop"));
    identity->console.reset();
    EXPECT_THAT(paths(DirectoryKind::desktop, Domain::user), ElementsAre("/var/root/Desktop"));
}

TEST_F(StandardDirectoriesTest, TheSuperuserFollowsTheConsoleUsersChoiceInsideTheHome) {
    identity->userId = kSuperuserId;
    scratch.addFile(".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"/data/Papers\"\n"
                                              "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n");
    EXPECT_THAT(paths(DirectoryKind::desktop, Domain::user), ElementsAre("/var/root/Schreibtisch"));
    EXPECT_THAT(paths(DirectoryKind::documents, Domain::user), ElementsAre("/var/root/Documents"));
}

TEST_F(StandardDirectoriesTest, TheCacheFolderIsAnsweredWithASlashIfItExists) {
    std::array<char, 1024> buffer{};
    EXPECT_EQ(directories.configurationString(kUserCacheDirectoryName, buffer), 0U);
    EXPECT_EQ(directories.configurationString(1, buffer), 0U);

    const Path expected = scratch.addFolder(".cache") + "/";
    EXPECT_EQ(directories.configurationString(kUserCacheDirectoryName, buffer),
              expected.size() + 1);
    EXPECT_STREQ(buffer.data(), expected.c_str());

    ::setenv("XDG_CACHE_HOME", (scratch.addFolder("other") + "//./").c_str(), 1);
    directories.configurationString(kUserCacheDirectoryName, buffer);
    EXPECT_STREQ(buffer.data(), (scratch / "other/").c_str());
}

TEST_F(StandardDirectoriesTest, AShortBufferGetsTheStartAndTheWholeLength) {
    const Path expected = scratch.addFolder(".cache") + "/";
    std::array<char, 5> buffer{};
    EXPECT_EQ(directories.configurationString(kUserCacheDirectoryName, buffer),
              expected.size() + 1);
    EXPECT_STREQ(buffer.data(), expected.substr(0, 4).c_str());
    EXPECT_EQ(directories.configurationString(kUserCacheDirectoryName, {}), expected.size() + 1);
}

} // namespace
} // namespace quorvane::platform::linux_
