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

    /// Of one source with one destination.
    static Place place(const std::string& source, const std::string& destination) {
        const auto all = placesOf({.sources = {source}, .destinations = {destination}});
        return all.at(0).destinations.at(0);
    }
    /// Of one source, to folders.
    static std::vector<Path> pathsIn(const std::string& source, std::vector<std::string> folders) {
        std::vector<Path> found;
        const auto all =
            placesOf({.toFolders = true, .sources = {source}, .destinations = std::move(folders)});
        for (const Place& each : all.at(0).destinations) found.push_back(each.path);
        return found;
    }
    /// Why the places are refused; nothing has changed then.
    std::string refusal(const Command& command) {
        const auto before = system.disk->paths();
        std::string reason;
        status = ExitStatus::done;
        system.journal->clear();
        try {
            (void)placesOf(command);
        } catch (const Failure& failure) {
            reason = failure.what();
            status = failure.status;
        }
        EXPECT_EQ(system.disk->paths(), before);
        EXPECT_EQ(system.disk->content("/s/name"), "content");
        EXPECT_EQ(system.disk->openStreams(), 0U);
        return reason;
    }
    std::string refusal(const std::string& source, const std::string& destination) {
        return refusal({.sources = {source}, .destinations = {destination}});
    }
    std::string forcedRefusal(const std::string& source, const std::string& destination) {
        return refusal({.replaces = true, .sources = {source}, .destinations = {destination}});
    }
    std::string refusalIn(std::vector<std::string> sources, std::vector<std::string> folders) {
        return refusal(
            {.toFolders = true, .sources = std::move(sources), .destinations = std::move(folders)});
    }
    std::vector<std::string> opened() const { return system.journal->entries("files.open"); }

    ExitStatus status = ExitStatus::done; ///< of the last refusal
};

TEST_F(CopyPlaces, AreFiles) {
    EXPECT_EQ(place("/s/name", "/d/a").path, "/d/a");
    EXPECT_EQ(place("/s/name", "/d/a").name, "/d/a");
}

TEST_F(CopyPlaces, InFoldersAreNamesakesOfTheSource) {
    system.disk->addLink("/l", "/d");
    EXPECT_EQ(place("/s/name", "/d/").path, "/d/name");
    EXPECT_EQ(place("/s/name", "/d/").name, "/d/name");
    EXPECT_EQ(place("/s/name", "/l/b").path, "/l/b");
    EXPECT_EQ(place("/s/name", "/l").path, "/l/name");
    system.disk->addFolder("/e");
    EXPECT_THAT(pathsIn("/s/name", {"/l", "/e/", "/new"}),
                ElementsAre("/l/name", "/e/name", "/new/name"));
}

TEST_F(CopyPlaces, OfSeveralSourcesAreInAFolder) {
    system.disk->addFile("/t/other");
    const auto all = placesOf({.sources = {"/s/name", "/t/other"}, .destinations = {"/d"}});
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].source.size, 7U);
    EXPECT_EQ(all[0].destinations.at(0).path, "/d/name");
    EXPECT_EQ(all[1].source.name, "/t/other");
    EXPECT_EQ(all[1].destinations.at(0).path, "/d/other");
}

TEST_F(CopyPlaces, MayLackFolders) {
    makeFolders(placesOf({.sources = {"/s/name"}, .destinations = {"/x/y/z"}}));
    EXPECT_TRUE(system.disk->isFolder("/x/y"));
    EXPECT_FALSE(system.disk->contains("/x/y/z"));
    EXPECT_THAT(system.journal->entries("authorization"), ::testing::IsEmpty());
}

TEST_F(CopyPlaces, SayWhichFolderCannotBeMade) {
    system.disk->failAlways("createDirectories", "/x", {13, "Permission denied"});
    EXPECT_THROW(makeFolders(placesOf({.sources = {"/s/name"}, .destinations = {"/x/a"}})),
                 Failure);
    EXPECT_THAT(system.journal->entries("authorization"), ::testing::IsEmpty());
}

TEST_F(CopyPlaces, NeedASourceThatCanBeRead) {
    EXPECT_EQ(refusal("/none", "/d/a"), "/none: No such file or directory");
    EXPECT_EQ(refusal("", "/d/a"), "\"\": No such file or directory");
    system.disk->failAlways("openForReading", "/s/name", {13, "Permission denied"});
    EXPECT_EQ(refusal("/s/name", "/d/a"), "/s/name: Permission denied");
    EXPECT_EQ(status, ExitStatus::failed);
}

TEST_F(CopyPlaces, NeedSourcesThatAreNoFolders) {
    system.disk->addLink("/l", "/s");
    const std::string reason =
        " is a folder, and only files are copied; folders to copy to are named with --to";
    for (const std::string folder : {"/s", "/l", "/s/"}) {
        EXPECT_EQ(refusal(folder, "/d/a"), folder + ":" + reason);
        EXPECT_EQ(status, ExitStatus::wrongKind);
        EXPECT_EQ(refusal({.sources = {"/s/name", folder}, .destinations = {"/d"}}),
                  folder + ":" + reason);
        EXPECT_EQ(refusalIn({"/s/name", folder}, {"/d"}), folder + ":" + reason);
        EXPECT_THAT(opened(), ::testing::IsEmpty());
    }
    EXPECT_EQ(refusal("/s/name/", "/d/a"), "/s/name/: Not a directory");
}

TEST_F(CopyPlaces, OfSeveralSourcesNeedAFolder) {
    system.disk->addFile("/d/there", "kept");
    system.disk->addFile("/s/other");
    for (const std::string last : {"/d/there", "/d/missing"}) {
        EXPECT_EQ(
            refusal({.replaces = true, .sources = {"/s/name", "/s/other"}, .destinations = {last}}),
            last + ": is no folder, which several sources need; several destinations are "
                   "named with --to");
        EXPECT_EQ(status, ExitStatus::wrongKind);
        EXPECT_THAT(opened(), ::testing::IsEmpty());
    }
    EXPECT_EQ(refusalIn({"/s/name"}, {"/d/there"}), "/d/there: Not a directory");
}

TEST_F(CopyPlaces, AreNeverTheSource) {
    system.disk->addLink("/d/link", "/s/name");
    system.disk->addLink("/d/folder", "/s");
    EXPECT_EQ(forcedRefusal("/s/name", "/s/name"), "/s/name: is the same file as /s/name");
    EXPECT_EQ(forcedRefusal("/s/name", "/s"), "/s/name: is the same file as /s/name");
    EXPECT_EQ(forcedRefusal("/s/name", "/d/link"), "/d/link: is the same file as /s/name");
    EXPECT_EQ(forcedRefusal("/d/link", "/s/name"), "/s/name: is the same file as /d/link");
    EXPECT_EQ(forcedRefusal("/s/name", "/d/folder"), "/d/folder/name: is the same file as /s/name");
}

TEST_F(CopyPlaces, AreNeverAnotherSource) {
    system.disk->addFile("/d/name", "kept");
    EXPECT_EQ(refusal({.replaces = true,
                       .toFolders = true,
                       .sources = {"/s/name", "/d/name"},
                       .destinations = {"/d"}}),
              "/d/name: is the same file as /d/name");
}

TEST_F(CopyPlaces, AreDifferentFiles) {
    system.disk->addFolder("/d/sub");
    system.disk->addLink("/e", "/d");
    EXPECT_EQ(refusalIn({"/s/name"}, {"/d", "/e"}), "/e/name: is the same file as /d/name");
    EXPECT_EQ(refusalIn({"/s/name"}, {"/x", "/x/../x/."}),
              "/x/../x/./name: is the same file as /x/name");
    EXPECT_EQ(refusalIn({"/s/name"}, {"/d", "/e/sub", "/x"}), "");
    EXPECT_THAT(opened(), ElementsAre("files.openForReading /s/name"));
}

TEST_F(CopyPlaces, AreDifferentForEachSource) {
    system.disk->addFile("/t/name", "other");
    system.disk->addLink("/l/name", "/t/name");
    EXPECT_EQ(refusalIn({"/s/name", "/t/name"}, {"/d"}),
              "/d/name: /s/name and /t/name would both be copied there");
    EXPECT_EQ(refusalIn({"/t/name", "/l/name"}, {"/x"}),
              "/x/name: /t/name and /l/name would both be copied there");
    EXPECT_EQ(refusal({.sources = {"/s/name", "/s/name"}, .destinations = {"/d"}}),
              "/d/name: /s/name and /s/name would both be copied there");
    EXPECT_THAT(opened(), ::testing::IsEmpty());
}

TEST_F(CopyPlaces, AreFree) {
    system.disk->addFile("/d/there", "kept");
    EXPECT_EQ(refusal("/s/name", "/d/there"),
              "/d/there: exists already; --force replaces its content");
    EXPECT_THAT(opened(), ::testing::IsEmpty());
    EXPECT_EQ(forcedRefusal("/s/name", "/d/there"), "");
    EXPECT_EQ(system.disk->content("/d/there"), "kept");
}

TEST_F(CopyPlaces, AreNoLinks) {
    system.disk->addFile("/d/there", "kept");
    system.disk->addLink("/d/link", "/d/there");
    system.disk->addLink("/d/dangling", "new");
    for (const std::string name : {"/d/link", "/d/dangling"}) {
        EXPECT_EQ(refusal("/s/name", name), name + ": is a link, and links are not followed here");
        EXPECT_EQ(forcedRefusal("/s/name", name),
                  name + ": is a link, and links are not followed here");
    }
}

TEST_F(CopyPlaces, AreNoFolders) {
    system.disk->addFolder("/d/name");
    EXPECT_EQ(refusal("/s/name", "/d"), "/d/name: Is a directory");
    EXPECT_EQ(refusal("/s/name", "/x/"), "/x/: Not a directory");
    EXPECT_EQ(refusal("/s/name", "/s/name/"), "/s/name/: Not a directory");
    EXPECT_EQ(refusal("/s/name", "/s/name/x"), "/s/name/x: Not a directory");
}

TEST_F(CopyPlaces, CanBeWritten) {
    system.disk->addFile("/d/there");
    system.disk->setWritable("/d/there", false);
    EXPECT_EQ(forcedRefusal("/s/name", "/d/there"), "/d/there: Permission denied");
    system.disk->setWritable("/d", false);
    EXPECT_EQ(refusal("/s/name", "/d/a"), "/d/a: cannot be written");
}

TEST_F(CopyPlaces, HaveAName) {
    EXPECT_EQ(refusal("/s/name", ""), "\"\": No such file or directory");
    EXPECT_EQ(refusalIn({"/s/name"}, {"/d", ""}), "\"\": No such file or directory");
}

} // namespace
} // namespace quorvane::programs::qvcopy
