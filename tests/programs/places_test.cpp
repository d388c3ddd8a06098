#include "programs/qvcopy/places.h"

#include "programs/program.h"
#include "tests/programs/program_fixture.h"

namespace quorvane::programs::qvcopy {
namespace {

using ::testing::ElementsAre;

class CopyPlaces : public testing::ProgramTest {
protected:
    CopyPlaces() {
        system.disk->addFile("/s/name", "content");
        system.disk->addFolder("/d");
    }

    static Places places(const std::string& source, std::vector<std::string> destinations) {
        return placesOf({VerificationType::none, source, std::move(destinations)});
    }
    static std::vector<Path> paths(const Places& places) {
        std::vector<Path> found;
        for (const Place& each : places.destinations) found.push_back(each.path);
        return found;
    }
    /// Why the places are refused; nothing has changed then.
    std::string refusal(const std::string& source, std::vector<std::string> destinations) {
        const auto before = system.disk->paths();
        std::string reason;
        try {
            (void)places(source, std::move(destinations));
        } catch (const Failure& failure) {
            reason = failure.what();
        }
        EXPECT_EQ(system.disk->paths(), before);
        EXPECT_EQ(system.disk->content("/s/name"), "content");
        EXPECT_EQ(system.disk->openStreams(), 0U);
        return reason;
    }
};

TEST_F(CopyPlaces, AreFiles) {
    EXPECT_THAT(paths(places("/s/name", {"/d/a", "/d/b"})), ElementsAre("/d/a", "/d/b"));
}

TEST_F(CopyPlaces, InFoldersAreNamesakesOfTheSource) {
    system.disk->addLink("/l", "/d");
    const Places found = places("/s/name", {"/d/", "/l/b"});
    EXPECT_THAT(paths(found), ElementsAre("/d/name", "/l/b"));
    EXPECT_EQ(found.destinations[0].name, "/d/name");
    EXPECT_THAT(paths(places("/s/name", {"/l"})), ElementsAre("/l/name"));
}

TEST_F(CopyPlaces, MayLackFolders) {
    makeFolders(places("/s/name", {"/x/y/z", "/d/a"}));
    EXPECT_TRUE(system.disk->isFolder("/x/y"));
    EXPECT_FALSE(system.disk->contains("/x/y/z"));
    EXPECT_THAT(system.journal->entries("authorization"), ::testing::IsEmpty());
}

TEST_F(CopyPlaces, SayWhichFolderCannotBeMade) {
    system.disk->failAlways("createDirectories", "/x", {13, "Permission denied"});
    EXPECT_THROW(makeFolders(places("/s/name", {"/x/a"})), Failure);
    EXPECT_THAT(system.journal->entries("authorization"), ::testing::IsEmpty());
}

TEST_F(CopyPlaces, NeedASourceThatCanBeRead) {
    EXPECT_EQ(refusal("/none", {"/d/a"}), "/none: No such file or directory");
    EXPECT_EQ(refusal("", {"/d/a"}), "\"\": No such file or directory");
    EXPECT_EQ(refusal("/s", {"/d/a"}), "/s: Is a directory");
    system.disk->failAlways("openForReading", "/s/name", {13, "Permission denied"});
    EXPECT_EQ(refusal("/s/name", {"/d/a"}), "/s/name: Permission denied");
}

TEST_F(CopyPlaces, NeedASourceThatIsNoFolderByItsName) {
    EXPECT_EQ(refusal("/s/name/", {"/d/a"}), "/s/name/: Not a directory");
}

TEST_F(CopyPlaces, AreNeverTheSource) {
    system.disk->addLink("/d/link", "/s/name");
    system.disk->addLink("/d/folder", "/s");
    EXPECT_EQ(refusal("/s/name", {"/d/a", "/s/name"}), "/s/name: is the same file as /s/name");
    EXPECT_EQ(refusal("/s/name", {"/s"}), "/s/name: is the same file as /s/name");
    EXPECT_EQ(refusal("/s/name", {"/d/link"}), "/d/link: is the same file as /s/name");
    EXPECT_EQ(refusal("/d/link", {"/s/name"}), "/s/name: is the same file as /d/link");
    EXPECT_EQ(refusal("/s/name", {"/d/folder"}), "/d/folder/name: is the same file as /s/name");
}

TEST_F(CopyPlaces, AreDifferentFiles) {
    system.disk->addFile("/d/there");
    system.disk->addLink("/d/link", "/d/there");
    system.disk->addLink("/e", "/d");
    EXPECT_EQ(refusal("/s/name", {"/d/there", "/d/link"}), "/d/link: is the same file as /d/there");
    EXPECT_EQ(refusal("/s/name", {"/d/new", "/e/new"}), "/e/new: is the same file as /d/new");
    EXPECT_EQ(refusal("/s/name", {"/d", "/d/name"}), "/d/name: is the same file as /d/name");
    EXPECT_EQ(refusal("/s/name", {"/x/new", "/x/../x/./new"}),
              "/x/../x/./new: is the same file as /x/new");
    system.disk->addLink("/d/dangling", "new");
    EXPECT_EQ(refusal("/s/name", {"/e/new", "/d/dangling"}),
              "/d/dangling: is the same file as /e/new");
    EXPECT_EQ(refusal("/s/name", {"/x/new", "/y/new", "/d/new"}), "");
}

TEST_F(CopyPlaces, AreNoFolders) {
    system.disk->addFolder("/d/name");
    EXPECT_EQ(refusal("/s/name", {"/d"}), "/d/name: Is a directory");
    EXPECT_EQ(refusal("/s/name", {"/x/"}), "/x/: Not a directory");
    EXPECT_EQ(refusal("/s/name", {"/s/name/"}), "/s/name/: Not a directory");
    EXPECT_EQ(refusal("/s/name", {"/s/name/x"}), "/s/name/x: Not a directory");
}

TEST_F(CopyPlaces, CanBeWritten) {
    system.disk->addFile("/d/there");
    system.disk->setWritable("/d/there", false);
    EXPECT_EQ(refusal("/s/name", {"/d/a", "/d/there"}), "/d/there: cannot be written");
    system.disk->setWritable("/d", false);
    EXPECT_EQ(refusal("/s/name", {"/d/a"}), "/d/a: cannot be written");
}

TEST_F(CopyPlaces, HaveAName) {
    EXPECT_EQ(refusal("/s/name", {"/d/a", ""}), "\"\": No such file or directory");
}

} // namespace
} // namespace quorvane::programs::qvcopy
