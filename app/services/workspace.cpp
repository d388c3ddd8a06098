#include "app/services/workspace.h"

namespace brightkeel {
namespace {

using namespace quorvane::platform;
using quorvane::MaybePath;
using quorvane::Path;

class WorkspaceWithReasons : public Workspace {
public:
    WorkspaceWithReasons(std::shared_ptr<Workspace> workspace,
                         std::shared_ptr<FailureReasons> reasons)
        : workspace_(std::move(workspace)), reasons_(std::move(reasons)) {}

    Result<void> recycle(const Path& sourceFolder, const Path& destinationFolder,
                         const std::vector<std::string>& names) override {
        auto recycled = workspace_->recycle(sourceFolder, destinationFolder, names);
        if (!recycled) reasons_->add(recycled.error().text);
        return recycled;
    }
    bool isInTrash(const Path& path) override { return workspace_->isInTrash(path); }
    bool isSuperusersPlace(const Path& path) override {
        return workspace_->isSuperusersPlace(path);
    }
    MaybePath bundlePath(const std::string& identifier) override {
        return workspace_->bundlePath(identifier);
    }
    std::vector<Path> mountedLocalVolumes() override { return workspace_->mountedLocalVolumes(); }
    bool isFilePackage(const Path& path) override { return workspace_->isFilePackage(path); }
    void noteFileSystemChanged(const Path& path) override {
        workspace_->noteFileSystemChanged(path);
    }

private:
    const std::shared_ptr<Workspace> workspace_;
    const std::shared_ptr<FailureReasons> reasons_;
};

} // namespace

std::shared_ptr<Workspace> withReasons(std::shared_ptr<Workspace> workspace,
                                       std::shared_ptr<FailureReasons> reasons) {
    return std::make_shared<WorkspaceWithReasons>(std::move(workspace), std::move(reasons));
}

} // namespace brightkeel
