#include "platform/linux/tools/xattr/attributes.h"

#include <sys/xattr.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/linux/scratch_folder.h"
#include "tests/platform/linux/tools/tool_run.h"

namespace {

using namespace quorvane;
using namespace quorvane::platform::linux_::tools;
using quorvane::testing::ScratchFolder;
using quorvane::testing::ToolRun;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using xattr::Command;

ToolRun run(const Arguments& arguments) { return quorvane::testing::runTool(QV_XATTR, arguments); }

std::string attribute(const Path& file, const char* name) {
    char value[1024];
    const ssize_t length = getxattr(file.c_str(), name, value, sizeof value);
    return length < 0 ? "<none>" : std::string(value, static_cast<std::size_t>(length));
}

class XattrTool : public ::testing::Test {
protected:
    const ScratchFolder folder_;
    const Path file_ = folder_.addFile("a file\nof \xc3\xa4\xff", "content");
};

TEST(XattrCommand, IsReadFromTheArguments) {
    const Command write = xattr::parseCommand({"-w", "name", "value", "/a", "-b"});
    EXPECT_EQ(write.action, Command::Action::write);
    EXPECT_EQ(write.name, "name");
    EXPECT_EQ(write.value, "value");
    EXPECT_THAT(write.files, ElementsAre("/a", "-b"));
    EXPECT_EQ(xattr::parseCommand({"-p", "n", "a"}).action, Command::Action::print);
    EXPECT_EQ(xattr::parseCommand({"-d", "n", "a"}).action, Command::Action::remove);
    EXPECT_EQ(xattr::parseCommand({"-l", "a"}).action, Command::Action::listValues);
    EXPECT_EQ(xattr::parseCommand({"a", "b"}).action, Command::Action::listNames);
    EXPECT_THAT(xattr::parseCommand({"--", "-l"}).files, ElementsAre("-l"));
}

TEST(XattrCommand, IsRefusedWhenItIsNotWhole) {
    const std::vector<Arguments> wrong = {{},     {"-l"},           {"-w", "n", "v"}, {"-p", "n"},
                                          {"-x"}, {"-d", "", "/a"}, {"--"},           {"-wp", "n"}};
    for (const Arguments& arguments : wrong)
        EXPECT_THROW(xattr::parseCommand(arguments), UsageError);
}

TEST_F(XattrTool, WritesAnAttributeIntoTheNamespaceOfUsers) {
    const ToolRun written = run({"-w", "com.example.progress", "0.457", file_});
    EXPECT_EQ(written.status, 0);
    EXPECT_EQ(written.output + written.error, "");
    EXPECT_EQ(attribute(file_, "user.com.example.progress"), "0.457");
    EXPECT_EQ(run({"-w", "user.com.example.progress", "1.000", file_}).status, 0);
    EXPECT_EQ(attribute(file_, "user.com.example.progress"), "1.000");
}

TEST_F(XattrTool, WritesAnEmptyValue) {
    EXPECT_EQ(run({"-w", "empty", "", file_}).status, 0);
    EXPECT_EQ(attribute(file_, "user.empty"), "");
    EXPECT_EQ(run({"-p", "empty", file_}).output, "\n");
}

TEST_F(XattrTool, PrintsValuesAndNames) {
    run({"-w", "b", "two \xff", file_});
    run({"-w", "a", "one", file_});
    run({"-w", "user.user.c", "three", file_});
    EXPECT_EQ(run({"-p", "b", file_}).output, "two \xff\n");
    EXPECT_EQ(run({file_}).output, "a\nb\nuser.user.c\n");
    EXPECT_EQ(run({"-l", file_}).output, "a: one\nb: two \xff\nuser.user.c: three\n");
}

TEST_F(XattrTool, TellsSeveralFilesApart) {
    const Path other = folder_.addFile("other");
    run({"-w", "a", "1", file_, other});
    EXPECT_EQ(run({other, file_}).output, other + ": a\n" + file_ + ": a\n");
    EXPECT_EQ(run({"-l", other, file_}).output, other + ": a: 1\n" + file_ + ": a: 1\n");
}

TEST_F(XattrTool, RemovesAnAttribute) {
    run({"-w", "a", "1", file_});
    EXPECT_EQ(run({"-d", "a", file_}).status, 0);
    EXPECT_EQ(attribute(file_, "user.a"), "<none>");
}

TEST_F(XattrTool, SaysWhatIsMissing) {
    const ToolRun removed = run({"-d", "a", file_});
    EXPECT_EQ(removed.status, 1);
    EXPECT_EQ(removed.error, "xattr: " + file_ + ": no attribute a\n");
    const ToolRun printed = run({"-p", "a", file_});
    EXPECT_EQ(printed.status, 1);
    EXPECT_EQ(printed.error, "xattr: " + file_ + ": no attribute a\n");
}

TEST_F(XattrTool, GoesOnAfterAFileThatFails) {
    const Path missing = folder_ / "missing";
    const ToolRun written = run({"-w", "a", "1", missing, "", file_});
    EXPECT_EQ(written.status, 1);
    EXPECT_EQ(written.error, "xattr: " + missing +
                                 ": No such file or directory\n"
                                 "xattr: : No such file or directory\n");
    EXPECT_EQ(attribute(file_, "user.a"), "1");
}

TEST_F(XattrTool, FollowsALink) {
    const Path link = folder_ / "link";
    ASSERT_EQ(symlink(file_.c_str(), link.c_str()), 0);
    EXPECT_EQ(run({"-w", "a", "1", link}).status, 0);
    EXPECT_EQ(attribute(file_, "user.a"), "1");
}

TEST_F(XattrTool, TakesNamesFromTheFolderItRunsIn) {
    const ToolRun written =
        quorvane::testing::runTool(QV_XATTR, {"-w", "a", "1", "other"}, folder_.path());
    EXPECT_EQ(written.error, "xattr: other: No such file or directory\n");
    folder_.addFile("other");
    quorvane::testing::runTool(QV_XATTR, {"-w", "a", "1", "other"}, folder_.path());
    EXPECT_EQ(attribute(folder_ / "other", "user.a"), "1");
}

TEST_F(XattrTool, ExplainsItself) {
    const ToolRun help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, StartsWith("usage: xattr FILE..."));
    const ToolRun wrong = run({"-q", file_});
    EXPECT_EQ(wrong.status, 64);
    EXPECT_EQ(wrong.output, "");
    EXPECT_EQ(wrong.error, "xattr: unknown option -q\n" + help.output);
}

TEST_F(XattrTool, FailsWhenNobodyTakesItsOutput) {
    run({"-w", "a", "1", file_});
    const ToolRun printed = quorvane::testing::runTool(
        "/bin/sh", {"-c", R"("$0" -l "$1" > /dev/full)", QV_XATTR, file_});
    EXPECT_EQ(printed.status, 1);
    EXPECT_THAT(printed.error, HasSubstr("xattr: standard output: "));
}

} // namespace
