#include <filesystem>

#include "platform/linux/presentation/change_notices.h"
#include "platform/linux/property_lists.h"
#include "platform/linux/workspace.h"
#include "tests/platform/contract/workspace_contract.h"
#include "tests/platform/linux/sample_bundle.h"
#include "tests/platform/linux/scratch_folder.h"
#include "tests/platform/linux/stub_identity.h"

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;

class LinuxWorld final : public WorkspaceWorld {
public:
    LinuxWorld() {
        for (const char* name : {"XDG_DATA_HOME", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"})
            ::unsetenv(name);
        identity_->home = scratch_.addFolder("home");
        scratch_.addFolder("work");
    }

    platform::Workspace& workspace() override { return workspace_; }
    Path folder() override { return scratch_ / "work"; }
    Path superusersFolder() override { return "/usr/share"; }
    Path trash() override { return scratch_ / "home/.Trash"; }
    void addFile(const Path& path, const std::string& content) override {
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << content;
    }
    void addFolder(const Path& path) override { fs::create_directories(path); }
    void addLink(const Path& path, const Path& target) override {
        fs::create_symlink(target, path);
    }
    void addApplication(const std::string& identifier, const Path& bundle) override {
        addFile(bundle + "/Contents/Info.plist", infoText({{"CFBundleIdentifier", identifier}}));
        scratch_.addFile("home/.local/share/applications/" + identifier + ".desktop",
                         "[Desktop Entry]\nX-Quorvane-Bundle=" + bundle + "\n");
    }
    bool contains(const Path& path) override { return fs::exists(fs::symlink_status(path)); }
    std::string content(const Path& path) override { return contentOf(path); }
    std::size_t trashedItems() override {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(trash()), fs::directory_iterator()));
    }

private:
    ScratchFolder scratch_;
    std::shared_ptr<StubIdentity> identity_ = std::make_shared<StubIdentity>();
    platform::linux_::LinuxWorkspace workspace_{
        identity_, std::make_shared<platform::linux_::LinuxPropertyLists>(),
        std::make_shared<platform::linux_::ChangeNotices>()};
};

INSTANTIATE_TYPED_TEST_SUITE_P(Linux, WorkspaceContract, LinuxWorld);

} // namespace
} // namespace quorvane::testing
