#include <cmath>

#include "kit/files/wildcard.h"
#include "tests/kit/files/file_manager_fixture.h"

namespace quorvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Names : public testing::FileManagerTest {};

TEST_F(Names, SizesAsText) {
    constexpr double kStep = 1024;
    EXPECT_EQ(QVFileManager::formatFileSize(0), "0 B");
    EXPECT_EQ(QVFileManager::formatFileSize(1023), "1023 B");
    EXPECT_EQ(QVFileManager::formatFileSize(kStep), "1.00 KB");
    EXPECT_EQ(QVFileManager::formatFileSize(1536), "1.50 KB");
    EXPECT_EQ(QVFileManager::formatFileSize(1'048'575), "1024.00 KB");
    EXPECT_EQ(QVFileManager::formatFileSize(kStep * kStep), "1.00 MB");
    EXPECT_EQ(QVFileManager::formatFileSize(std::pow(kStep, 3) - 1), "1024.00 MB");
    EXPECT_EQ(QVFileManager::formatFileSize(std::pow(kStep, 3)), "1.00 GB");
    EXPECT_EQ(QVFileManager::formatFileSize(2.25 * std::pow(kStep, 4)), "2.25 TB");
    EXPECT_EQ(QVFileManager::formatFileSize(std::pow(kStep, 5)), "1024.00 TB");
    EXPECT_EQ(QVFileManager::formatFileSize(-5), "-5 B");
}

TEST_F(Names, PatternsWithoutAStarAreAnsweredAsTheyStand) {
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath("/none/here"), ElementsAre("/none/here"));
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath("a?c", "/base/"),
                ElementsAre("/base/a?c"));
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath("/a", "/b*"), ElementsAre("/b*/a"));
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath(std::nullopt, "/base"), IsEmpty());
}

TEST_F(Names, WildcardsMatchTheEntriesOfOneFolder) {
    for (const Path file : {"/base/b.log", "/base/.log", "/base/a.log", "/base/A.LOG",
                            "/base/c.txt", "/base/sub/d.log", "/root.log"})
        system.disk->addFile(file);
    system.disk->addFolder("/base/folder.log");
    system.disk->addLink("/base/dangling.log", "/nowhere");
    const auto found = ElementsAre("/base/b.log", "/base/.log", "/base/a.log", "/base/folder.log");
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath("*.log", "/base"), found);
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath("*.log", "/base", SearchSubdirs::yes),
                found);
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath("/base/*.log"), found);
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath("*.log"), ElementsAre("/root.log"));
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath("*.log", "/missing"), IsEmpty());
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath("*.log", "/base/a.log"), IsEmpty());
}

TEST_F(Names, WildcardsStandInAnyComponent) {
    for (const Path file : {"/u/anna/Library/x", "/u/berta/Library/x", "/u/carl/y", "/u/file",
                            "/u/dora/Library/what?"})
        system.disk->addFile(file);
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath("/u/*/Library/x"),
                ElementsAre("/u/anna/Library/x", "/u/berta/Library/x"));
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath("//u//*a/Library/", "/"),
                ElementsAre("/u/anna/Library", "/u/berta/Library", "/u/dora/Library"));
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath("/*/Library", "/u/"),
                ElementsAre("/u/anna/Library", "/u/berta/Library", "/u/dora/Library"));
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath("/u/*/Library/?"), IsEmpty());
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath("/u/*/Library/what?"),
                ElementsAre("/u/dora/Library/what?"));
    EXPECT_THAT(QVFileManager::filesMatchingWildcardPath("/u/d*/L?brary/*"), IsEmpty());
}

TEST_F(Names, DecodingAnswersTheFirstMatch) {
    system.disk->addFile("/base/2");
    system.disk->addFile("/base/1");
    EXPECT_EQ(QVFileManager::decodeWildcardPath("*", "/base"), "/base/2");
    EXPECT_EQ(QVFileManager::decodeWildcardPath("*.x", "/base"), "/base/*.x");
    EXPECT_EQ(QVFileManager::decodeWildcardPath("plain", "/base"), "/base/plain");
    EXPECT_EQ(QVFileManager::decodeWildcardPath("/plain", std::nullopt), "/plain");
    EXPECT_EQ(QVFileManager::decodeWildcardPath("*.x", std::nullopt), std::nullopt);
    EXPECT_EQ(QVFileManager::decodeWildcardPath(std::nullopt, "/base"), std::nullopt);
}

TEST_F(Names, AreCleaned) {
    EXPECT_EQ(QVFileManager::validateFilename("."), "");
    EXPECT_EQ(QVFileManager::validateFilename(""), "");
    EXPECT_EQ(QVFileManager::validateFilename(".."), ".");
    EXPECT_EQ(QVFileManager::validateFilename("..a"), ".a");
    EXPECT_EQ(QVFileManager::validateFilename(".profile"), "profile");
    EXPECT_EQ(QVFileManager::validateFilename(" .a/b:c "), ".abc");
    EXPECT_EQ(QVFileManager::validateFilename(". a b\n\t"), "a b");
    EXPECT_EQ(QVFileManager::validateFilename("\xC2\xA0 \xC3\xA4:/:/ "), "\xC3\xA4");
    EXPECT_EQ(QVFileManager::validateFilename("a: /"), "a "); // white space goes first
    EXPECT_EQ(QVFileManager::validateFilename(std::nullopt), std::nullopt);
}

TEST_F(Names, AreMadeFree) {
    for (const Path file : {"/a/report.txt", "/x/y", "/a/.profile", "/a.b/c", "/a/report.tar.gz"})
        system.disk->addFile(file);
    system.disk->addLink("/dangling", "/nowhere");
    EXPECT_EQ(QVFileManager::uniqueFilename("/a/free.txt"), "/a/free.txt");
    EXPECT_EQ(QVFileManager::uniqueFilename("/dangling"), "/dangling");
    EXPECT_EQ(QVFileManager::uniqueFilename("/a/report.txt"), "/a/report 2.txt");
    EXPECT_EQ(QVFileManager::uniqueFilename("/a/report.tar.gz"), "/a/report.tar 2.gz");
    EXPECT_EQ(QVFileManager::uniqueFilename("/a/.profile"), "/a/.profile 2");
    EXPECT_EQ(QVFileManager::uniqueFilename("/x"), "/x 2");
    EXPECT_EQ(QVFileManager::uniqueFilename("/x/"), "/x 2");
    EXPECT_EQ(QVFileManager::uniqueFilename("/a.b/c"), "/a.b/c 2");
    system.disk->addFile("/a/report 2.txt");
    system.disk->addFolder("/a/report 3.txt");
    EXPECT_EQ(QVFileManager::uniqueFilename("/a/report.txt"), "/a/report 4.txt");
    EXPECT_EQ(QVFileManager::uniqueFilename(std::nullopt), std::nullopt);
}

TEST(Wildcard, StarStandsForAnyCharacters) {
    for (const char* pattern : {"*", "**", "a*", "*c", "a*c", "*b*", "abc", "abc*", "*a*b*c*"})
        EXPECT_TRUE(matchesWildcard("abc", pattern)) << pattern;
    for (const char* pattern : {"", "b*", "*b", "a*d", "abcd*", "*B*", "ab", "*a*b*c*d", "A*"})
        EXPECT_FALSE(matchesWildcard("abc", pattern)) << pattern;
    EXPECT_TRUE(matchesWildcard("", ""));
    EXPECT_TRUE(matchesWildcard("", "*"));
    EXPECT_TRUE(matchesWildcard("abcabd", "*abd"));
    EXPECT_TRUE(matchesWildcard("two\nlines", "*l*"));
}

TEST(Wildcard, QuestionMarkStandsForOneCharacter) {
    EXPECT_TRUE(matchesWildcard("abc", "a?*"));
    EXPECT_TRUE(matchesWildcard("\xC3\xA4.x", "?.*"));
    EXPECT_TRUE(matchesWildcard("\xF0\x9F\x99\x82.x", "?.*"));
    EXPECT_TRUE(matchesWildcard("\xFF.x", "?.*"));
    EXPECT_FALSE(matchesWildcard("a", "a?*"));
    EXPECT_FALSE(matchesWildcard("\xC3\xA4", "??*"));
}

TEST(Wildcard, EverythingElseStandsForItself) {
    EXPECT_TRUE(matchesWildcard("[ab]*x", "[ab]*"));
    EXPECT_FALSE(matchesWildcard("a", "[ab]*"));
    EXPECT_TRUE(matchesWildcard("a\\b", "a\\*"));
    EXPECT_FALSE(matchesWildcard("a*b", "a\\*"));
    EXPECT_FALSE(matchesWildcard("\xC3\xA4", "*\xA4")); // half of a character
    EXPECT_TRUE(matchesWildcard("\xC3\xA4\xA4", "*\xA4"));
}

TEST(Wildcard, ManyStarsTakeNoTime) {
    std::string pattern;
    for (int star = 0; star < 100; ++star) pattern += "*a";
    EXPECT_FALSE(matchesWildcard(std::string(255, 'a'), pattern + "*b"));
    EXPECT_TRUE(matchesWildcard(std::string(255, 'a'), pattern + "*"));
}

} // namespace
} // namespace quorvane
