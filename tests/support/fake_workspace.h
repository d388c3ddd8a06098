// The desktop's workspace on a fake disk.
#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "platform/Workspace.h"
#include "tests/support/fake_disk.h"
#include "tests/support/journal.h"

namespace quorvane::testing {

/// Each call that does something adds one line to the journal before it is performed:
///     workspace.recycle FOLDER [NAME, NAME] -> DESTINATION
///     workspace.noteFileSystemChanged /a
/// Recycling an item fails where the disk's "recycle" is scripted to fail for the item's path, or
/// for kAnyPath.
class FakeWorkspace : public platform::Workspace {
public:
    FakeWorkspace(std::shared_ptr<FakeDisk> disk, std::shared_ptr<Journal> journal);

    /// Lets bundlePath answer this path for the identifier.
    void addBundle(const std::string& identifier, const Path& path);

    /// Mount points, in the order of the answer; at first the start-up volume's alone.
    std::vector<Path> volumes = {"/"};
    /// Folders of which each is a Trash.
    std::vector<Path> trashes = {"/Users/anna/.Trash"};
    /// Folders that the superuser alone can change, with all below them.
    std::vector<Path> superusersFolders = {"/Applications", "/Library"};

    platform::Result<void> recycle(const Path& sourceFolder, const Path& destinationFolder,
                                   const std::vector<std::string>& names) override;
    bool isInTrash(const Path& path) override;
    MaybePath bundlePath(const std::string& identifier) override;
    bool isSuperusersPlace(const Path& path) override;
    std::vector<Path> mountedLocalVolumes() override { return volumes; }
    /// A folder with one of the extensions app, bundle, plugin, kext, prefPane, pkg, in any case.
    bool isFilePackage(const Path& path) override;
    void noteFileSystemChanged(const Path& path) override;

private:
    std::shared_ptr<FakeDisk> disk_;
    std::shared_ptr<Journal> journal_;
    std::mutex mutex_;
    std::map<std::string, Path> bundles_;
};

} // namespace quorvane::testing
