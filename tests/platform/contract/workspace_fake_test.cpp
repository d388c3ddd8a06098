#include "tests/platform/contract/workspace_contract.h"
#include "tests/support/fake_workspace.h"

namespace quorvane::testing {
namespace {

class FakeWorld final : public WorkspaceWorld {
public:
    FakeWorld() { disk_->addFolder(folder()); }

    platform::Workspace& workspace() override { return workspace_; }
    Path folder() override { return "/work"; }
    Path superusersFolder() override { return "/Applications"; }
    Path trash() override { return "/Users/anna/.Trash"; }
    void addFile(const Path& path, const std::string& content) override {
        disk_->addFile(path, content);
    }
    void addFolder(const Path& path) override { disk_->addFolder(path); }
    void addLink(const Path& path, const Path& target) override { disk_->addLink(path, target); }
    void addApplication(const std::string& identifier, const Path& bundle) override {
        workspace_.addBundle(identifier, bundle);
    }
    bool contains(const Path& path) override { return disk_->contains(path); }
    std::string content(const Path& path) override { return disk_->content(path); }
    std::size_t trashedItems() override {
        return disk_->contentsOfDirectory(trash()).value().size();
    }

private:
    std::shared_ptr<FakeDisk> disk_ = std::make_shared<FakeDisk>();
    FakeWorkspace workspace_{disk_, std::make_shared<Journal>()};
};

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, WorkspaceContract, FakeWorld);

} // namespace
} // namespace quorvane::testing
