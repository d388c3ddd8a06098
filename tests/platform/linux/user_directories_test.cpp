#include "platform/linux/user_directories.h"

#include <gmock/gmock.h>

#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::platform::linux_ {
namespace {

using quorvane::testing::ScratchFolder;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr auto kHome = "/Users/anna";

TEST(UserDirectories, ReadsFoldersBelowTheHomeAndElsewhere) {
    EXPECT_THAT(parseUserDirectories("# written by a tool\n"
                                     "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n"
                                     "\t XDG_DOCUMENTS_DIR = \"/data/Eigene Dateien/\"\n"
                                     "XDG_VIDEOS_DIR=\"$HOME/Filme\"",
                                     kHome),
                ElementsAre(Pair("DESKTOP", "/Users/anna/Schreibtisch"),
                            Pair("DOCUMENTS", "/data/Eigene Dateien"),
                            Pair("VIDEOS", "/Users/anna/Filme")));
}

TEST(UserDirectories, FoldersAreSpeltPlainly) {
    for (const std::string home : {"/Users/anna", "/Users//anna/"})
        EXPECT_THAT(parseUserDirectories("XDG_DESKTOP_DIR=\"$HOME//Desktop/\"\n"
                                         "XDG_DOCUMENTS_DIR=\"$HOME/./Papers/.\"\n"
                                         "XDG_VIDEOS_DIR=\"//data///Films\"\n"
                                         "XDG_MUSIC_DIR=\"$HOME/.\"\n"
                                         "XDG_PICTURES_DIR=\"/Users/./anna/\"\n",
                                         home),
                    ElementsAre(Pair("DESKTOP", "/Users/anna/Desktop"),
                                Pair("DOCUMENTS", "/Users/anna/Papers"),
                                Pair("VIDEOS", "/data/Films")));
}

TEST(UserDirectories, KeepsEscapedCharacters) {
    EXPECT_THAT(parseUserDirectories(R"(XDG_DOCUMENTS_DIR="$HOME/a\"b\\c\$d" # mine)", kHome),
                ElementsAre(Pair("DOCUMENTS", "/Users/anna/a\"b\\c$d")));
}

TEST(UserDirectories, TheLastSettingCounts) {
    EXPECT_THAT(parseUserDirectories("XDG_DESKTOP_DIR=\"/a\"\nXDG_DESKTOP_DIR=\"/b\"\n", kHome),
                ElementsAre(Pair("DESKTOP", "/b")));
}

TEST(UserDirectories, LeavesOutWhatIsNoFolder) {
    for (const std::string_view line :
         {"XDG_DESKTOP_DIR=\"$HOME\"", "XDG_DESKTOP_DIR=\"$HOME/\"", "XDG_DESKTOP_DIR=\"relative\"",
          "XDG_DESKTOP_DIR=\"$HOMEWARD/x\"", "XDG_DESKTOP_DIR=\"\\$HOME/x\"",
          "XDG_DESKTOP_DIR=\"/unterminated", "XDG_DESKTOP_DIR=\"/ends in a backslash\\",
          "XDG_DESKTOP_DIR=/unquoted", "XDG_DESKTOP_DIR", "XDG_DIR=\"/x\"", "DESKTOP=\"/x\"",
          "#XDG_DESKTOP_DIR=\"/x\"", "=\"/x\"", "XDG_DESKTOP_DIR=\"\""})
        EXPECT_THAT(parseUserDirectories(line, kHome), IsEmpty()) << line;
    EXPECT_THAT(parseUserDirectories(std::string_view("XDG_DESKTOP_DIR=\"/a\0b\"", 22), kHome),
                IsEmpty());
}

TEST(UserDirectories, ReadsTheFileOfAConfigurationFolder) {
    const ScratchFolder scratch;
    EXPECT_THAT(userDirectories(scratch.path(), kHome), IsEmpty());
    scratch.addFile("user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME/D\"\n");
    EXPECT_THAT(userDirectories(scratch.path(), kHome),
                ElementsAre(Pair("DESKTOP", "/Users/anna/D")));
}

} // namespace
} // namespace quorvane::platform::linux_
