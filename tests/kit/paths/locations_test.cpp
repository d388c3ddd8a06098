#include "kit/paths/QVLocalPaths.h"

#include <array>
#include <cstdlib>
#include <ctime>
#include <regex>

#include <gtest/gtest.h>

#include "tests/support/fake_platform.h"

namespace quorvane {
namespace {

using platform::DirectoryKind;
using platform::Domain;
using testing::FakePlatform;

constexpr auto kUser = UserDomain::yes;
constexpr auto kLocal = UserDomain::no;

class Locations : public ::testing::Test {
protected:
    FakePlatform system;
};

TEST_F(Locations, ForAnOrdinaryUser) {
    EXPECT_EQ(QVLocalPaths::applicationDirectory(kUser), "/Users/anna/Applications");
    EXPECT_EQ(QVLocalPaths::applicationDirectory(kLocal), "/Applications");
    EXPECT_EQ(QVLocalPaths::adminApplicationDirectory(kLocal), "/Applications/Utilities");
    EXPECT_EQ(QVLocalPaths::documentDirectory(kUser), "/Users/anna/Documents");
    EXPECT_EQ(QVLocalPaths::libraryDirectory(kUser), "/Users/anna/Library");
    EXPECT_EQ(QVLocalPaths::libraryDirectory(kLocal), "/Library");
    EXPECT_EQ(QVLocalPaths::prefsDirectory(kUser), "/Users/anna/Library/Preferences");
    EXPECT_EQ(QVLocalPaths::prefsDirectory(kLocal), "/Library/Preferences");
    EXPECT_EQ(QVLocalPaths::cacheDirectory(kUser), "/Users/anna/Library/Caches");
    EXPECT_EQ(QVLocalPaths::appSupportDirectory(kLocal), "/Library/Application Support");
    EXPECT_EQ(QVLocalPaths::logDirectory(kUser), "/Users/anna/Library/Logs");
    EXPECT_EQ(QVLocalPaths::logDirectory(kLocal), "/Library/Logs");
    EXPECT_EQ(QVLocalPaths::movieDirectory(), "/Users/anna/Movies");
    EXPECT_EQ(QVLocalPaths::desktopDirectory(), "/Users/anna/Desktop");
    EXPECT_EQ(QVLocalPaths::systemLibraryDirectory(), "/System/Library");
    EXPECT_EQ(QVLocalPaths::localDocumentationDirectory(), "/Library/Documentation");
    EXPECT_EQ(QVLocalPaths::trashDirectory(), "/Users/anna/.Trash");
    EXPECT_EQ(QVLocalPaths::userDirectory(), "/Users/anna");
    EXPECT_EQ(QVLocalPaths::username(), "anna");
}

TEST_F(Locations, EachAsksForItsKindAndDomain) {
    using Locate = MaybePath (*)(UserDomain);
    const std::vector<std::pair<Locate, std::uint64_t>> kinds{
        {QVLocalPaths::applicationDirectory, 1}, {QVLocalPaths::adminApplicationDirectory, 4},
        {QVLocalPaths::documentDirectory, 9},    {QVLocalPaths::libraryDirectory, 5},
        {QVLocalPaths::cacheDirectory, 13},      {QVLocalPaths::appSupportDirectory, 14},
    };
    for (const auto& [locate, kind] : kinds) {
        system.directories->overrides[{DirectoryKind{kind}, Domain{1}}] = {"/u", "/second"};
        system.directories->overrides[{DirectoryKind{kind}, Domain{2}}] = {"/l"};
        EXPECT_EQ(locate(kUser), "/u") << kind;
        EXPECT_EQ(locate(kLocal), "/l") << kind;
    }
    system.directories->overrides[{DirectoryKind{17}, Domain{1}}] = {"/movies"};
    system.directories->overrides[{DirectoryKind{12}, Domain{1}}] = {"/desktop"};
    system.directories->overrides[{DirectoryKind{5}, Domain{8}}] = {"/system"};
    system.directories->overrides[{DirectoryKind{8}, Domain{2}}] = {"/documentation"};
    EXPECT_EQ(QVLocalPaths::movieDirectory(), "/movies");
    EXPECT_EQ(QVLocalPaths::desktopDirectory(), "/desktop");
    EXPECT_EQ(QVLocalPaths::systemLibraryDirectory(), "/system");
    EXPECT_EQ(QVLocalPaths::localDocumentationDirectory(), "/documentation");
}

TEST_F(Locations, AreNullWhereThePlatformKnowsNone) {
    EXPECT_EQ(QVLocalPaths::pathForDirectory(DirectoryKind{99}, Domain::user), std::nullopt);
    system.directories->overrides[{DirectoryKind::library, Domain::user}] = {};
    EXPECT_EQ(QVLocalPaths::prefsDirectory(kUser), std::nullopt);
    EXPECT_EQ(QVLocalPaths::logDirectory(kUser), std::nullopt);
    system.identity->home = std::nullopt;
    EXPECT_EQ(QVLocalPaths::trashDirectory(), std::nullopt);
}

TEST_F(Locations, OfTheSuperuserAreTheConsoleUsers) {
    system.identity->becomeSuperuser();
    EXPECT_EQ(QVLocalPaths::libraryDirectory(kUser), "/Users/anna/Library");
    EXPECT_EQ(QVLocalPaths::libraryDirectory(kLocal), "/Library");
    EXPECT_EQ(QVLocalPaths::userDirectory(), "/Users/anna");
    EXPECT_EQ(QVLocalPaths::username(), "anna");
    EXPECT_EQ(QVLocalPaths::trashDirectory(), "/Users/anna/.Trash");
}

TEST_F(Locations, OfTheSuperuserKeepTheShortCutOfThePrivateHome) {
    system.identity->becomeSuperuser();
    auto& folder = system.directories->overrides[{DirectoryKind::library, Domain::user}];
    folder = {"/private/var/root/Library"};
    EXPECT_EQ(QVLocalPaths::libraryDirectory(kUser), "/Users/anna/t/Library");
    folder = {"/var/root/private/var/root/Library"};
    EXPECT_EQ(QVLocalPaths::libraryDirectory(kUser), "/Users/anna/t/Library");
    folder = {"/elsewhere/Library"};
    EXPECT_EQ(QVLocalPaths::libraryDirectory(kUser), "/Users/anna/elsewhere/Library");
}

TEST_F(Locations, OfTheSuperuserWithNobodyThereAreNull) {
    system.identity->becomeSuperuser();
    for (const MaybeText& console : {MaybeText(), MaybeText("loginwindow")}) {
        system.identity->console = console;
        EXPECT_EQ(QVLocalPaths::currentConsoleUser(), std::nullopt);
        EXPECT_EQ(QVLocalPaths::username(), std::nullopt);
        EXPECT_EQ(QVLocalPaths::userDirectory(), std::nullopt);
        EXPECT_EQ(QVLocalPaths::libraryDirectory(kUser), std::nullopt);
        EXPECT_EQ(QVLocalPaths::trashDirectory(), std::nullopt);
        EXPECT_EQ(QVLocalPaths::libraryDirectory(kLocal), "/Library");
    }
}

TEST_F(Locations, CacheFolderComesFromTheConfiguration) {
    EXPECT_EQ(QVLocalPaths::darwinCacheDirectory(), "/private/var/folders/a1/C/");
    system.directories->userCache = std::nullopt;
    EXPECT_EQ(QVLocalPaths::darwinCacheDirectory(), std::nullopt);
    system.directories->userCache = "/" + std::string(2000, 'c');
    ASSERT_TRUE(QVLocalPaths::darwinCacheDirectory());
    EXPECT_EQ(QVLocalPaths::darwinCacheDirectory()->size(), 1023U);
}

TEST_F(Locations, TemporaryNames) {
    EXPECT_EQ(QVLocalPaths::tempDirectory(), "/private/var/folders/a1/T/");
    EXPECT_EQ(QVLocalPaths::uuid(), "UNIQUE-1");
    EXPECT_EQ(QVLocalPaths::uuid(), "UNIQUE-2");
    const MaybePath file = QVLocalPaths::tempFile();
    ASSERT_TRUE(file);
    EXPECT_TRUE(
        std::regex_match(*file, std::regex("/private/var/folders/a1/T/UNIQUE-3[a-z0-9]{8}")))
        << *file;
    EXPECT_TRUE(system.disk->paths().empty());
}

TEST_F(Locations, RandomStringsHaveTheirLengthAndAlphabet) {
    EXPECT_EQ(QVLocalPaths::randomString(0), "");
    EXPECT_TRUE(std::regex_match(QVLocalPaths::randomString(8), std::regex("[a-z0-9]{8}")));
    EXPECT_EQ(QVLocalPaths::randomString(5000).size(), 5000U);
}

TEST_F(Locations, RandomStringsSeedTheGeneratorEvenForNoLength) {
    std::srand(1);
    const int first = std::rand();
    std::srand(1);
    QVLocalPaths::randomString(0);
    EXPECT_NE(std::rand(), first);
}

TEST_F(Locations, SlashesAtTheEnd) {
    EXPECT_EQ(QVLocalPaths::ensureTrailingSlash(std::nullopt), std::nullopt);
    EXPECT_EQ(QVLocalPaths::ensureTrailingSlash(""), "");
    EXPECT_EQ(QVLocalPaths::ensureTrailingSlash("/tmp"), "/tmp/");
    EXPECT_EQ(QVLocalPaths::ensureTrailingSlash("/tmp/"), "/tmp/");
    EXPECT_EQ(QVLocalPaths::stripTrailingSlash(std::nullopt), std::nullopt);
    EXPECT_EQ(QVLocalPaths::stripTrailingSlash(""), "");
    EXPECT_EQ(QVLocalPaths::stripTrailingSlash("/"), "/");
    EXPECT_EQ(QVLocalPaths::stripTrailingSlash("/tmp"), "/tmp");
    EXPECT_EQ(QVLocalPaths::stripTrailingSlash("/tmp/"), "/tmp");
    EXPECT_EQ(QVLocalPaths::stripTrailingSlash("/a//"), "/a/");
}

} // namespace
} // namespace quorvane
