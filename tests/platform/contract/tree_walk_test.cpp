// What every file manager owes its callers: walking trees, reading links.
#include <algorithm>
#include <cerrno>

#include <gmock/gmock.h>

#include "tests/platform/contract/disk_world.h"

namespace quorvane::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// Tells what it visits as "name(" for a folder, ")" for its end, "name 12" for items with a size.
class Teller : public platform::TreeVisitor {
public:
    Answer enterFolder(std::string_view name, const platform::FileIdentity& folder) override {
        told.push_back(std::string(name) + "(");
        folders.push_back(folder);
        if (name == skipped) return Answer::skip;
        return name == stopsAt ? Answer::stop : Answer::goOn;
    }
    void leaveFolder() override { told.emplace_back(")"); }
    Answer meetItem(std::string_view name, std::uint64_t size) override {
        told.push_back(std::string(name) + " " + std::to_string(size));
        return name == stopsAt ? Answer::stop : Answer::goOn;
    }

    std::vector<std::string> told;
    std::vector<platform::FileIdentity> folders;
    std::string skipped = "/";
    std::string stopsAt = "/";
};

class TreeWalkContract : public DiskContract {
protected:
    std::vector<std::string> walk(const char* folder,
                                  platform::ItemSizes sizes = platform::ItemSizes::told) {
        EXPECT_TRUE(files().walkTree(path(folder), sizes, teller_).ok());
        return teller_.told;
    }

    Teller teller_;
};

INSTANTIATE_TEST_SUITE_P(Of, TreeWalkContract, ::testing::Values(&kFakeWorld, &kLinuxWorld),
                         worldName);

TEST_P(TreeWalkContract, VisitsEverythingBelow) {
    world().addFile(path("d/file"), "123");
    world().addFile(path("d/.hidden\nfile \xFF"), "1");
    world().addFile(path("d/sub/below"), "");
    world().addFolder(path("d/sub/empty"));
    EXPECT_THAT(walk("d/"), UnorderedElementsAre("(", "file 3", ".hidden\nfile \xFF 1", "sub(",
                                                 "below 0", "empty(", ")", ")", ")"));
    EXPECT_EQ(teller_.told.front(), "(");
    EXPECT_EQ(teller_.told.back(), ")");
}

TEST_P(TreeWalkContract, TellsNoSizesUnlessAskedTo) {
    world().addFile(path("d/file"), "123");
    EXPECT_THAT(walk("d", platform::ItemSizes::unknown), ElementsAre("(", "file 0", ")"));
}

TEST_P(TreeWalkContract, FollowsLinksToFoldersAndNoOthers) {
    world().addFile(path("target/below"), "12");
    world().addFile(path("file"), "12345");
    world().addLink(path("d/toFolder"), "../target");
    world().addLink(path("d/toFile"), "../file");
    world().addLink(path("d/dangling"), "nowhere");
    world().addLink(path("d/self"), "self");
    EXPECT_THAT(walk("d"), UnorderedElementsAre("(", "toFolder(", "below 2", ")", "toFile 7",
                                                "dangling 7", "self 4", ")"));
}

TEST_P(TreeWalkContract, TellsFoldersApartByTheirIdentity) {
    world().addLink(path("d/link"), "sub");
    world().addFolder(path("d/sub"));
    walk("d");
    ASSERT_EQ(teller_.folders.size(), 3U);
    EXPECT_EQ(teller_.folders[0], files().existence(path("d")).identity);
    EXPECT_EQ(teller_.folders[1], files().existence(path("d/sub")).identity);
    EXPECT_EQ(teller_.folders[2], teller_.folders[1]);
}

TEST_P(TreeWalkContract, SkipsAndStopsAsTheVisitorSays) {
    world().addFile(path("d/sub/below"), "");
    teller_.skipped = "sub";
    EXPECT_THAT(walk("d"), ElementsAre("(", "sub(", ")"));
    teller_.told.clear();
    teller_.skipped = "/";
    teller_.stopsAt = "sub";
    EXPECT_THAT(walk("d"), ElementsAre("(", "sub("));
    teller_.told.clear();
    teller_.stopsAt = "below";
    EXPECT_THAT(walk("d"), ElementsAre("(", "sub(", "below 0"));
}

TEST_P(TreeWalkContract, GoesRoundALoopUntilLinksLeadNowhere) {
    world().addLink(path("d/again"), "../d");
    const auto told = walk("d");
    EXPECT_EQ(std::ranges::count(told, "again("), 40);
    EXPECT_EQ(std::ranges::count(told, ")"), 41);
    EXPECT_EQ(std::ranges::count(told, "again 4"), 1);
}

TEST_P(TreeWalkContract, OfNoFolderVisitsNothing) {
    world().addFile(path("file"), "");
    for (const char* name : {"file", "missing"}) EXPECT_THAT(walk(name), IsEmpty()) << name;
    EXPECT_TRUE(files().walkTree("", platform::ItemSizes::told, teller_).ok());
    EXPECT_THAT(teller_.told, IsEmpty());
}

TEST_P(TreeWalkContract, ReadsLinks) {
    world().addLink(path("link"), "some/where \xFF");
    world().addLink(path("dangling"), "/nowhere");
    world().addFile(path("file"), "");
    world().addFolder(path("folder"));
    EXPECT_EQ(files().linkDestination(path("link")).value(), "some/where \xFF");
    EXPECT_EQ(files().linkDestination(path("dangling")).value(), "/nowhere");
    EXPECT_EQ(files().linkDestination(path("file")).error().code, EINVAL);
    EXPECT_EQ(files().linkDestination(path("folder")).error().code, EINVAL);
    EXPECT_EQ(files().linkDestination(path("missing")).error().code, ENOENT);
    EXPECT_EQ(files().linkDestination("relative").error().code, ENOENT);
}

} // namespace
} // namespace quorvane::testing
