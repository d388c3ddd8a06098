#include "platform/linux/trash_info.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace quorvane::platform::linux_ {
namespace {

TEST(TrashInfo, HoldsThePathAndTheLocalTime) {
    ::setenv("TZ", "UTC-2", 1);
    ::tzset();
    EXPECT_EQ(trashInfo("/Users/anna/Notes.txt", 1'000'000'000),
              "[Trash Info]\n"
              "Path=/Users/anna/Notes.txt\n"
              "DeletionDate=2001-09-09T03:46:40\n");
}

TEST(TrashInfo, EncodesAllButUnreservedCharacters) {
    EXPECT_EQ(trashInfo("a-b_c.d~e/1 2%\n\xC3\xBC\xFF", 0).substr(13, 41),
              "Path=a-b_c.d~e/1%202%25%0A%C3%BC%FF\nDelet");
}

TEST(TrashName, TheFirstIsTheItemsOwn) {
    EXPECT_EQ(trashName("Notes.txt", 1), "Notes.txt");
    EXPECT_EQ(trashName("Notes", 1), "Notes");
    EXPECT_EQ(trashName("a\nb\xFF.txt", 1), "a\nb\xFF.txt");
}

TEST(TrashName, TheNumberStandsBeforeTheExtension) {
    EXPECT_EQ(trashName("Notes.txt", 2), "Notes.2.txt");
    EXPECT_EQ(trashName("a.tar.gz", 13), "a.tar.13.gz");
    EXPECT_EQ(trashName("Notes", 2), "Notes.2");
    EXPECT_EQ(trashName(".profile", 2), ".profile.2");
    EXPECT_EQ(trashName("ends.", 2), "ends.2.");
}

TEST(TrashName, LeavesRoomForTheInfoFile) {
    const std::string stem(251, 'x');
    EXPECT_EQ(trashName(stem + ".txt", 1), std::string(241, 'x') + ".txt");
    EXPECT_EQ(trashName(stem + ".txt", 10), std::string(238, 'x') + ".10.txt");
    EXPECT_EQ(trashName(std::string(255, 'x'), 1), std::string(245, 'x'));
    EXPECT_EQ(trashName(std::string(245, 'x'), 1), std::string(245, 'x'));
    EXPECT_EQ(trashName("a." + std::string(253, 'x'), 1), "a." + std::string(243, 'x'));
}

TEST(TrashName, CutsBetweenCharacters) {
    // 244 bytes, then a character of two bytes across the limit of 245.
    EXPECT_EQ(trashName(std::string(244, 'x') + "\xC3\xBC" + std::string(9, 'y'), 1),
              std::string(244, 'x'));
    EXPECT_EQ(trashName(std::string(243, 'x') + "\xF0\x9F\x97\x91" + std::string(8, 'y'), 1),
              std::string(243, 'x'));
    // Not UTF-8: any byte will do.
    EXPECT_EQ(trashName(std::string(255, '\x80'), 1), std::string(245, '\x80'));
}

} // namespace
} // namespace quorvane::platform::linux_
