#include "platform/linux/workspace.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/linux/presentation/change_notices.h"
#include "platform/linux/property_lists.h"
#include "tests/platform/linux/sample_bundle.h"
#include "tests/platform/linux/scratch_folder.h"
#include "tests/platform/linux/stub_identity.h"

namespace quorvane::platform::linux_ {
namespace {

namespace fs = std::filesystem;

constexpr const char* kIdentifier = "com.quorvane.A";

class WorkspaceTest : public ::testing::Test {
protected:
    WorkspaceTest() {
        for (const char* name : {"XDG_DATA_HOME", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"})
            ::unsetenv(name);
        identity->home = scratch.addFolder("home");
    }
    Path add(const std::string& path) {
        return quorvane::testing::addBundle(scratch, path, {{"CFBundleIdentifier", kIdentifier}});
    }
    void enter(const Path& bundle) const {
        scratch.addFile(std::string("home/.local/share/applications/") + kIdentifier + ".desktop",
                        "[Desktop Entry]\nX-Quorvane-Bundle=" + bundle + "\n");
    }
    MaybePath found() { return workspace.bundlePath(kIdentifier); }

    quorvane::testing::ScratchFolder scratch;
    std::shared_ptr<quorvane::testing::StubIdentity> identity =
        std::make_shared<quorvane::testing::StubIdentity>();
    LinuxWorkspace workspace{identity, std::make_shared<LinuxPropertyLists>(),
                             std::make_shared<ChangeNotices>()};
};

TEST_F(WorkspaceTest, ARegisteredBundleThatIsInTheTrashIsNotFound) {
    add("data/A.app");
    ::setenv("XDG_DATA_HOME", (scratch / "share").c_str(), 1);
    ASSERT_TRUE(workspace.recycle(scratch / "data", {}, {"A.app"}));
    scratch.addFile("share/applications/com.quorvane.A.desktop",
                    "[Desktop Entry]\nX-Quorvane-Bundle=" + scratch.path() +
                        "/share/Trash/files/A.app\n");
    EXPECT_EQ(found(), std::nullopt);
    const Path standing = add("home/Applications/Media/A.app");
    EXPECT_EQ(found(), MaybePath(standing));
}

TEST_F(WorkspaceTest, ABundleInATrashThatIsNotHiddenIsNotFound) {
    ::setenv("XDG_DATA_HOME", (scratch / "home/Applications").c_str(), 1);
    add("data/A.app");
    ASSERT_TRUE(workspace.recycle(scratch / "data", {}, {"A.app"}));
    ASSERT_TRUE(fs::exists(scratch / "home/Applications/Trash/files/A.app"));
    EXPECT_EQ(found(), std::nullopt);
    const Path standing = add("home/Applications/Utilities/A.app");
    EXPECT_EQ(found(), MaybePath(standing));
}

TEST_F(WorkspaceTest, ARegisteredBundleComesFirst) {
    const Path bundle = add("elsewhere/A.app");
    add("home/Applications/A.app");
    enter(bundle);
    EXPECT_EQ(found(), MaybePath(bundle));
}

} // namespace
} // namespace quorvane::platform::linux_
