#include "platform/linux/tools.h"

#include <filesystem>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/linux/processes.h"
#include "tests/platform/linux/scratch_folder.h"
#include "tests/platform/linux/tools/tool_run.h"

namespace {

using namespace quorvane;
using platform::LaunchDescription;
using platform::linux_::makeProcesses;
using platform::linux_::makeTools;
using platform::linux_::Superuser;
using quorvane::testing::ScratchFolder;

class ToolPlaces : public ::testing::Test {
protected:
    Path addTool(const std::string& name) {
        const Path tool = folder_.addFile(name, "#!/bin/sh\n");
        EXPECT_EQ(chmod(tool.c_str(), 0755), 0);
        return tool;
    }

    const ScratchFolder folder_;
    const std::shared_ptr<platform::Tools> tools_ = makeTools(folder_.path(), Superuser::no);
};

TEST_F(ToolPlaces, AreInTheFolderOfOwnTools) {
    for (const char* name : {"ditto", "xattr", "diskutil", "lsof"}) addTool(name);
    EXPECT_EQ(tools_->locate("/usr/bin/ditto"), folder_ / "ditto");
    EXPECT_EQ(tools_->locate("/usr/bin/xattr"), folder_ / "xattr");
    EXPECT_EQ(tools_->locate("/usr/sbin/diskutil"), folder_ / "diskutil");
    EXPECT_EQ(tools_->locate("/usr/sbin/lsof"), folder_ / "lsof");
}

TEST_F(ToolPlaces, AreAsNamedWhereNoOwnToolIsInstalled) {
    EXPECT_EQ(tools_->locate("/usr/bin/ditto"), "/usr/bin/ditto");
    folder_.addFile("ditto"); // which cannot be run
    EXPECT_EQ(tools_->locate("/usr/bin/ditto"), "/usr/bin/ditto");
    folder_.addFolder("xattr");
    EXPECT_EQ(tools_->locate("/usr/bin/xattr"), "/usr/bin/xattr");
}

TEST_F(ToolPlaces, AreAsNamedForAllOthers) {
    for (const char* name : {"ditto", "mv"}) addTool(name);
    for (const char* tool :
         {"/usr/bin/killall", "/bin/mv", "ditto", "/bin/ditto", "/usr/bin/ditto/", ""})
        EXPECT_EQ(tools_->locate(tool), tool);
}

TEST_F(ToolPlaces, AreInTheFolderOfOwnToolsForTheSuperusersFilesToo) {
    const auto superusers = makeTools(folder_.path(), Superuser::yes);
    EXPECT_EQ(superusers->locate("/bin/mv"), "/bin/mv");
    for (const char* name : {"cp", "mv", "rm", "mkdir", "ditto"}) addTool(name);
    for (const char* name : {"cp", "mv", "rm"})
        EXPECT_EQ(superusers->locate(Path("/bin/") + name), folder_ / name);
    EXPECT_EQ(superusers->locate("/usr/bin/ditto"), folder_ / "ditto");
    for (const char* tool : {"/bin/mkdir", "/usr/bin/mv", "mv"})
        EXPECT_EQ(superusers->locate(tool), tool);
}

TEST_F(ToolPlaces, AreWhereProcessesStart) {
    const Path file = folder_.addFile("a file");
    const Path built = std::filesystem::path(QV_XATTR).parent_path();
    const auto process = makeProcesses(makeTools(built, Superuser::no))->makeProcess();
    LaunchDescription launch;
    launch.path = "/usr/bin/xattr";
    launch.arguments = {"-w", "com.example.progress", "0.457", file};
    process->launch(launch);
    process->waitUntilExit();
    EXPECT_EQ(process->terminationStatus(), 0);
    EXPECT_EQ(process->launchPath(), "/usr/bin/xattr");
    EXPECT_EQ(getxattr(file.c_str(), "user.com.example.progress", nullptr, 0), 5);
}

} // namespace
