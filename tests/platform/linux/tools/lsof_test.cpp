#include "platform/linux/tools/lsof/lister.h"

#include <fcntl.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/posix.h"
#include "tests/platform/linux/scratch_folder.h"
#include "tests/platform/linux/tools/tool_run.h"

namespace {

using namespace quorvane;
using namespace quorvane::platform::linux_::tools;
using platform::linux_::Descriptor;
using quorvane::testing::ScratchFolder;
using quorvane::testing::ToolRun;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

ToolRun run(const Arguments& arguments) { return quorvane::testing::runTool(QV_LSOF, arguments); }

class LsofTool : public ::testing::Test {
protected:
    const ScratchFolder folder_;
    const Path file_ = folder_.addFile("a file\nof \xc3\xa4\xff");
};

TEST(LsofArguments, LoseTheBlanksOfTheFieldList) {
    EXPECT_THAT(lsof::forSystemLister({"-F a", "-w", "/a b"}), ElementsAre("-Fa", "-w", "/a b"));
    EXPECT_THAT(lsof::forSystemLister({"-Fan", "--", "-F a"}), ElementsAre("-Fan", "--", "-F a"));
    EXPECT_THAT(lsof::forSystemLister({}), ElementsAre());
}

TEST(LsofArguments, AskForQuietBeforeTheNamesOnly) {
    EXPECT_TRUE(lsof::isQuiet({"-F a", "-w", "/a"}));
    EXPECT_FALSE(lsof::isQuiet({"-F a", "/a"}));
    EXPECT_FALSE(lsof::isQuiet({"-F a", "--", "-w"}));
}

TEST_F(LsofTool, PrintsTheAccessModeOfAnOpenFile) {
    const Descriptor held(open(file_.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(held);
    const ToolRun listing = run({"-F a", "-w", file_});
    EXPECT_EQ(listing.status, 0);
    EXPECT_THAT(listing.output, HasSubstr("\nau\n"));
    EXPECT_EQ(listing.error, "");
}

TEST_F(LsofTool, SaysNothingOfAFileThatNobodyHasOpen) {
    const ToolRun listing = run({"-F a", "-w", file_});
    EXPECT_EQ(listing.status, 1);
    EXPECT_EQ(listing.output + listing.error, "");
}

TEST_F(LsofTool, ComplainsAboutAMissingFileUnlessQuiet) {
    const ToolRun quiet = run({"-F a", "-w", folder_ / "missing"});
    EXPECT_EQ(quiet.status, 1);
    EXPECT_EQ(quiet.output + quiet.error, "");
    EXPECT_THAT(run({"-F a", folder_ / "missing"}).error, HasSubstr("No such file"));
}

TEST_F(LsofTool, HelpsWithItsArguments) {
    const ToolRun help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, HasSubstr("usage: lsof"));
    EXPECT_THAT(help.error, Not(HasSubstr("lsof")));
}

} // namespace
