#include "platform/linux/tools/superuser/command.h"

#include <cerrno>
#include <filesystem>

#include <sys/stat.h>

#include <gmock/gmock.h>

#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/tools/tool_run.h"
#include "tests/platform/linux/trash_fixture.h"

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;
using platform::linux_::tools::superuser::perform;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class SuperusersTools : public TrashFixture {
protected:
    /// The error number or the exit status; -1 for what is left to the system's tool.
    int run(const Path& tool, const Arguments& arguments) {
        const auto done = perform(tool, arguments, trash);
        if (!done) return -1;
        return *done ? done->value() : done->error().code;
    }
    int move(std::string_view item, std::string_view destination) {
        return run("/bin/mv", {"-f", scratch / item, scratch / destination});
    }
    int copy(std::string_view item, std::string_view destination) {
        return run("/bin/cp", {"-f", "-p", "-R", scratch / item, scratch / destination});
    }
};

TEST_F(SuperusersTools, DoWhatTheKitAsksFor) {
    scratch.addFile("a/file", "content");
    EXPECT_EQ(move("a", "b"), 0);
    EXPECT_EQ(contentOf(scratch / "b/file"), "content");
    EXPECT_EQ(run("/bin/rm", {"-Rdf", scratch / "b//"}), 0);
    EXPECT_EQ(run("/bin/rm", {"-R", "-f", scratch / "b"}), 0);
    EXPECT_FALSE(exists(scratch / "b"));
}

TEST_F(SuperusersTools, LeaveOtherCommandsToTheSystems) {
    const Path item = scratch.addFile("a/file");
    for (const Arguments& arguments :
         {Arguments{}, Arguments{"-r", item}, Arguments{"-Rdf"}, Arguments{"-Rdf", item, item},
          Arguments{"-Rdf", "file"}, Arguments{"-Rdf", "."}, Arguments{"-Rdf", ""},
          Arguments{"-R", "-f", item, item, item, item, item}})
        EXPECT_EQ(run("/bin/rm", arguments), -1) << ::testing::PrintToString(arguments);
    for (const Arguments& arguments :
         {Arguments{item, item}, Arguments{"-nT", item, item}, Arguments{"-f", item, "b"}})
        EXPECT_EQ(run("/bin/mv", arguments), -1) << ::testing::PrintToString(arguments);
    EXPECT_EQ(run("/bin/cp", {"-a", item, scratch / "b"}), -1);
    EXPECT_EQ(run("/bin/mkdir", {"-v", scratch / "b"}), -1);
    EXPECT_TRUE(exists(item));
}

TEST_F(SuperusersTools, RefusePathsThatLeadUp) {
    scratch.addFile("a/file");
    EXPECT_EQ(run("/bin/rm", {"-Rdf", scratch / "source/../a"}), EINVAL);
    EXPECT_EQ(run("/bin/rm", {"-Rdf", "/"}), EINVAL);
    EXPECT_TRUE(exists(scratch / "a/file"));
}

TEST_F(SuperusersTools, NeverNest) {
    scratch.addFile("new/file", "new");
    scratch.addFile("old/other", "old");
    scratch.addFolder("empty");
    EXPECT_EQ(move("new", "old"), EISDIR);
    EXPECT_EQ(move("new", "empty"), EISDIR);
    EXPECT_EQ(move("new/file", "empty"), EISDIR);
    EXPECT_THAT(entries(scratch / "old"), ElementsAre("other"));
    EXPECT_EQ(contentOf(scratch / "new/file"), "new");
}

TEST_F(SuperusersTools, MergeACopy) {
    QV_NEEDS_SUPERUSER();
    scratch.addFile("new/file", "new");
    scratch.addFile("old/other", "old");
    EXPECT_EQ(copy("new", "old"), 0);
    EXPECT_THAT(entries(scratch / "old"), ElementsAre("file", "other"));
}

TEST_F(SuperusersTools, LeaveMountsAlone) {
    QV_NEEDS_SUPERUSER();
    scratch.addFile("tree/a", "kept");
    scratch.addFile("tree/z", "kept");
    scratch.addFolder("tree/bound");
    scratch.addFile("elsewhere/file", "bound");
    inPrivateMounts([&] {
        bindFolder(scratch / "elsewhere", scratch / "tree/bound");
        EXPECT_EQ(run("/bin/rm", {"-Rdf", scratch / "tree"}), EBUSY);
        EXPECT_EQ(run("/bin/rm", {"-R", "-f", scratch / "tree"}), EBUSY);
        EXPECT_EQ(move("tree", "moved"), EBUSY);
        EXPECT_THAT(entries(scratch / "tree"), ElementsAre("a", "bound", "z"));
        EXPECT_EQ(contentOf(scratch / "elsewhere/file"), "bound");
    });
}

TEST_F(SuperusersTools, ReplaceNothingInTheTrash) {
    scratch.addFile("home/.local/share/Trash/files/A.app/old");
    for (const std::string number : {"1", "2", "3"}) {
        scratch.addFile("source/" + number + "/A.app/" + number);
        EXPECT_EQ(move("source/" + number + "/A.app", "home/.local/share/Trash/files/A.app"), 0);
    }
    EXPECT_THAT(entries(files), ElementsAre("A.2.app", "A.3.app", "A.4.app", "A.app"));
    EXPECT_EQ(pathLine(infos + "/A.3.app.trashinfo"), "Path=" + source + "/2/A.app");
    scratch.addFile("source/file");
    EXPECT_EQ(copy("source/file", "home/.local/share/Trash/files/A.app"), EEXIST);
    EXPECT_EQ(move("source/missing", "home/.local/share/Trash/files/missing"), ENOENT);
    EXPECT_THAT(entries(infos), SizeIs(3));
}

TEST_F(SuperusersTools, ArePrograms) {
    QV_NEEDS_SUPERUSER();
    scratch.addFile("new/file", "new");
    scratch.addFolder("old");
    const ToolRun nested = runTool(QV_MV, {"-f", scratch / "new", scratch / "old"});
    EXPECT_EQ(nested.status, 1);
    EXPECT_THAT(nested.error, ::testing::HasSubstr("Is a directory"));
    EXPECT_THAT(entries(scratch / "old"), IsEmpty());
    EXPECT_EQ(runTool(QV_CP, {"-f", "-p", "-R", scratch / "new", scratch / "old"}).status, 0);
    EXPECT_THAT(entries(scratch / "old"), ElementsAre("file"));
    EXPECT_EQ(runTool(QV_RM, {"-Rdf", scratch / "old"}).status, 0);
    EXPECT_FALSE(exists(scratch / "old"));
}

TEST_F(SuperusersTools, ThatAreAskedForSomethingElseAreTheSystems) {
    const Path file = scratch.addFile("file");
    const ToolRun moved = runTool(QV_MV, {"-v", "file", "folder"}, scratch.path());
    EXPECT_EQ(moved.status, 0) << moved.error;
    EXPECT_THAT(moved.output, ::testing::HasSubstr("folder"));
    EXPECT_FALSE(exists(file));
}

} // namespace
} // namespace quorvane::testing
