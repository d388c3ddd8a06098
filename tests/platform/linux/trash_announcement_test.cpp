// Items that another program moves to the Trash.
#include <gmock/gmock.h>
#include <unistd.h>

#include "platform/linux/trash.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/trash_fixture.h"

namespace quorvane::platform::linux_ {
namespace {

using quorvane::testing::contentOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace fs = std::filesystem;

class TrashAnnouncementTest : public quorvane::testing::TrashFixture {};

TEST_F(TrashAnnouncementTest, AnAnnouncedItemGetsItsInfo) {
    scratch.addFile("source/a b", "x");
    const Path expected = fs::canonical(scratch.path()).string() +
                          "/home/.local/share/Trash/files/a b_20260101000000.";
    const Path destination = *identity->home + "/.Trash/a b_20260101000000.";
    EXPECT_EQ(trash.announce(source + "/a b", destination).destination, expected);
    EXPECT_EQ(pathLine(infos + "/a b_20260101000000..trashinfo"), "Path=" + source + "/a%20b");
    EXPECT_TRUE(exists(source + "/a b"));
}

TEST_F(TrashAnnouncementTest, AnAnnouncedItemGetsAFreeName) {
    scratch.addFile("home/.local/share/Trash/files/a.app/old");
    scratch.addFile("home/.local/share/Trash/info/a.app.trashinfo", "the folder's");
    fs::create_symlink("nowhere", files + "/a.2.app");
    scratch.addFile("home/.local/share/Trash/info/a.3.app.trashinfo", "orphan");
    const auto announced = trash.announce(source + "/a.app", *identity->home + "/.Trash/a.app");
    EXPECT_EQ(announced.destination, fs::canonical(files).string() + "/a.4.app");
    EXPECT_EQ(pathLine(infos + "/a.4.app.trashinfo"), "Path=" + source + "/a.app");
    EXPECT_THAT(entries(infos),
                ElementsAre("a.3.app.trashinfo", "a.4.app.trashinfo", "a.app.trashinfo"));
    EXPECT_EQ(contentOf(infos + "/a.app.trashinfo"), "the folder's");
}

TEST_F(TrashAnnouncementTest, AnnouncedItemsOfOneNameGetNamesOfTheirOwn) {
    const Path destination = *identity->home + "/.Trash/Notes_20260101000000.";
    const auto first = trash.announce(source + "/a/Notes", destination);
    const auto second = trash.announce(source + "/b/Notes", destination);
    EXPECT_NE(first.destination, second.destination);
    EXPECT_THAT(entries(infos), SizeIs(2));
}

TEST_F(TrashAnnouncementTest, AnAnnouncedNameLeavesRoomForTheInfo) {
    const auto announced = trash.announce(
        source + "/a", *identity->home + "/.Trash/" + std::string(250, 'n') + "_20260101000000.");
    EXPECT_LE(fs::path(announced.destination).filename().string().size(), 245U);
    EXPECT_THAT(entries(infos), SizeIs(1));
}

TEST_F(TrashAnnouncementTest, AnItemThatCannotBeWrittenDownGetsAFreeNameAllTheSame) {
    testing::asOrdinaryUser(scratch.path(), [&] {
        const Path home = scratch.addFolder("own");
        identity->home = home;
        scratch.addFile("own/.local/share/Trash/files/a", "older");
        const Path info = scratch.addFolder("own/.local/share/Trash/info");
        fs::permissions(info, fs::perms::owner_read | fs::perms::owner_exec);
        const auto announced = trash.announce(source + "/a", home + "/.Trash/a");
        EXPECT_EQ(fs::path(announced.destination).filename(), "a.2");
        EXPECT_FALSE(announced.isRecorded);
        fs::permissions(info, fs::perms::owner_all);
    });
}

TEST_F(TrashAnnouncementTest, OtherDestinationsAreAnsweredAsTheyAre) {
    EXPECT_EQ(trash.announce(source + "/a", scratch / "b").destination, scratch / "b");
    EXPECT_EQ(trash.announce(source + "/a", "relative").destination, "relative");
    scratch.addFolder("other/.Trash");
    identity->home = scratch / "other";
    EXPECT_EQ(trash.announce(source + "/a", scratch / "other/.Trash/a").destination,
              scratch / "other/.Trash/a");
    EXPECT_THAT(entries(scratch / "other/.local/share/Trash/info"), IsEmpty());
}

TEST_F(TrashAnnouncementTest, InAFolderOfItsOwnThatStandsForTheTrashNothingIsReplacedEither) {
    scratch.addFile("home/.Trash/a.txt", "older");
    scratch.addFile("home/.Trash/folder/b", "older");
    const Path place = *identity->home + "/.Trash";
    EXPECT_EQ(trash.announce(source + "/a.txt", place + "/a.txt").destination, place + "/a.2.txt");
    EXPECT_EQ(trash.announce(source + "/b", place + "/folder/b").destination,
              place + "/folder/b.2");
    EXPECT_THAT(entries(infos), IsEmpty());
}

TEST_F(TrashAnnouncementTest, HoldsWhatLiesInIt) {
    ASSERT_TRUE(trash.recycle(source, {}));
    scratch.addFolder("home/.local/share/Trash/files/folder/deep");
    const Path number = std::to_string(::geteuid());
    const Path foreign = std::to_string(::geteuid() + 1);
    scratch.addFolder("volume/.Trash-" + number + "/files");
    scratch.addFolder("volume/.Trash/" + number + "/files/folder");
    scratch.addFolder("volume/.Trash-" + foreign + "/files");
    const Path home = *identity->home;
    for (const Path& destination :
         {home + "/.Trash/a", files + "/a", files + "/folder/deep/a", home + "/.Trash/folder/a",
          trashFolder + "/a", infos + "/a", scratch / "volume/.Trash-" + number + "/files/a",
          scratch / "volume/.Trash-" + foreign + "/files/a",
          scratch / "volume/.Trash/" + number + "/files/folder/a"})
        EXPECT_TRUE(trash.holds(destination)) << destination;
    for (const Path& destination :
         {home + "/a", home + "/.Trash", files + "/missing/a", scratch / "volume/a",
          scratch / "volume/.Trash-" + number, Path("a"), Path()})
        EXPECT_FALSE(trash.holds(destination)) << destination;
}

TEST_F(TrashAnnouncementTest, HoldsTheFirstItemThatComes) {
    EXPECT_TRUE(trash.holds(*identity->home + "/.Trash/a"));
}

TEST_F(TrashAnnouncementTest, AnItemThatDidNotComeIsWithdrawn) {
    const Path home = *identity->home;
    const auto missing = trash.announce(source + "/a", home + "/.Trash/a");
    const auto come = trash.announce(source + "/b", home + "/.Trash/b");
    scratch.addFile("home/.Trash/b");
    trash.withdraw(missing);
    trash.withdraw(come);
    trash.withdraw({scratch / "c"});
    EXPECT_THAT(entries(infos), ElementsAre("b.trashinfo"));
}

TEST_F(TrashAnnouncementTest, AnItemThatWasRefusedIsWithdrawnWhateverTookItsName) {
    const auto announced = trash.announce(source + "/a", *identity->home + "/.Trash/a");
    scratch.addFile("home/.local/share/Trash/files/a", "of another");
    trash.cancel(announced);
    EXPECT_THAT(entries(infos), IsEmpty());
    EXPECT_EQ(contentOf(files + "/a"), "of another");
}

TEST_F(TrashAnnouncementTest, WhatWasNotRecordedIsNotWithdrawn) {
    scratch.addFile("home/.Trash/x");
    const auto announced = trash.announce(source + "/a", *identity->home + "/.Trash/a");
    scratch.addFile("home/.local/share/Trash/info/a.trashinfo", "another's");
    trash.withdraw(announced);
    trash.cancel(announced);
    EXPECT_EQ(contentOf(infos + "/a.trashinfo"), "another's");
}

} // namespace
} // namespace quorvane::platform::linux_
