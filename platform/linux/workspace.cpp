#include "platform/linux/workspace.h"

#include <utility>

#include "platform/PropertyLists.h"
#include "platform/UserIdentity.h"
#include "platform/linux/bundles.h"
#include "platform/linux/posix.h"
#include "platform/linux/presentation/application_registry.h"
#include "platform/linux/presentation/change_notices.h"
#include "platform/linux/superusers_places.h"
#include "platform/linux/trash_owner.h"
#include "platform/linux/trash_places.h"
#include "platform/linux/volumes.h"

namespace quorvane::platform::linux_ {

namespace {

/// Where nobody can tell, an item is taken for one that is in a Trash, which leaves it alone.
bool isInTrashOf(const std::optional<TrashOwner>& owner, const Path& path) {
    return liesInTrash(path, owner).value_or(true);
}

} // namespace

LinuxWorkspace::LinuxWorkspace(std::shared_ptr<UserIdentity> identity,
                               std::shared_ptr<PropertyLists> propertyLists,
                               std::shared_ptr<ChangeNotices> notices)
    : identity_(std::move(identity)), propertyLists_(std::move(propertyLists)),
      notices_(std::move(notices)), trash_(identity_) {}

Result<void> LinuxWorkspace::recycle(const Path& sourceFolder, const Path&,
                                     const std::vector<std::string>& names) {
    return trash_.recycle(sourceFolder, names);
}

bool LinuxWorkspace::isInTrash(const Path& path) {
    return isInTrashOf(trashOwner(*identity_), path);
}

MaybePath LinuxWorkspace::bundlePath(const std::string& identifier) {
    const auto owner = trashOwner(*identity_);
    const auto isOffered = [&](const Path& bundle) { return !isInTrashOf(owner, bundle); };
    if (owner) {
        auto path =
            registeredBundle(owner->dataHome + "/applications", identifier, *propertyLists_);
        if (path && isOffered(*path)) return path;
    }
    if (auto path = findBundle("/Applications", identifier, *propertyLists_, isOffered))
        return path;
    if (!owner) return std::nullopt;
    return findBundle(owner->home + "/Applications", identifier, *propertyLists_, isOffered);
}

bool LinuxWorkspace::isSuperusersPlace(const Path& path) { return linux_::isSuperusersPlace(path); }

std::vector<Path> LinuxWorkspace::mountedLocalVolumes() { return localVolumes(); }

bool LinuxWorkspace::isFilePackage(const Path& path) { return isBundle(path); }

void LinuxWorkspace::noteFileSystemChanged(const Path& path) {
    ignore(notices_->announce(path)); // a session without a bus has nobody to tell
}

} // namespace quorvane::platform::linux_
