// The desktop's workspace: the freedesktop.org Trash, and bundles.
#pragma once

#include <memory>

#include "platform/Workspace.h"
#include "platform/linux/trash.h"

namespace quorvane::platform {
class PropertyLists;
class UserIdentity;
} // namespace quorvane::platform

namespace quorvane::platform::linux_ {

class ChangeNotices;

/// Recycled items go to the desktop's own Trash, so the destination folder that callers expect is
/// not looked at: `~/.Trash` leads there.
class LinuxWorkspace final : public Workspace {
public:
    LinuxWorkspace(std::shared_ptr<UserIdentity> identity,
                   std::shared_ptr<PropertyLists> propertyLists,
                   std::shared_ptr<ChangeNotices> notices);

    Result<void> recycle(const Path& sourceFolder, const Path& destinationFolder,
                         const std::vector<std::string>& names) override;
    bool isInTrash(const Path& path) override;
    /// A registered bundle that still stands, else the first with the identifier in /Applications
    /// and ~/Applications.
    MaybePath bundlePath(const std::string& identifier) override;
    bool isSuperusersPlace(const Path& path) override;
    std::vector<Path> mountedLocalVolumes() override;
    bool isFilePackage(const Path& path) override;
    void noteFileSystemChanged(const Path& path) override;

private:
    std::shared_ptr<UserIdentity> identity_;
    std::shared_ptr<PropertyLists> propertyLists_;
    std::shared_ptr<ChangeNotices> notices_;
    Trash trash_;
};

} // namespace quorvane::platform::linux_
