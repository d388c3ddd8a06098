#include "platform/linux/trash.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>

#include <optional>
#include <utility>

#include "platform/UserIdentity.h"
#include "platform/linux/authorization/link_free_path.h"
#include "platform/linux/open_folders.h"
#include "platform/linux/plain_path.h"
#include "platform/linux/trash_info.h"
#include "platform/linux/trash_places.h"

namespace quorvane::platform::linux_ {
namespace {

bool isOnDevice(int folder, dev_t device) {
    struct stat status {};
    return ::fstat(folder, &status) == 0 && status.st_dev == device;
}

bool areOnOneDevice(int folder, const Path& other) {
    struct stat status {};
    return ::stat(other.c_str(), &status) == 0 && isOnDevice(folder, status.st_dev);
}

bool exists(const Path& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

std::pair<Path, std::string> split(const Path& path) {
    const auto slash = path.rfind('/');
    if (slash == Path::npos) return {".", path};
    return {slash == 0 ? "/" : path.substr(0, slash), path.substr(slash + 1)};
}

// A free name in a folder; the name itself where none is found.
Path freePath(const Path& folder, const std::string& name) {
    for (int attempt = 0; attempt < kTrashNameAttempts; ++attempt) {
        Path path = folder + "/" + trashNameToTry(name, attempt);
        if (!exists(path)) return path;
    }
    return folder + "/" + name;
}

/// The folder of items. The superuser goes through none but the superuser's own links (ELOOP):
/// through a user's, others could have their items moved, or what nobody was to move.
Descriptor openSource(const Path& folder, const TrashOwner& owner) {
    if (!owner.rights) return openFolder(AT_FDCWD, folder.c_str(), LastLink::follow);
    return openResolving(AT_FDCWD, linkFreePath(folder).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC,
                         RESOLVE_NO_SYMLINKS);
}

} // namespace

Trash::Trash(std::shared_ptr<UserIdentity> identity) : identity_(std::move(identity)) {}

Result<Trash::Folder> Trash::homeTrash(const TrashOwner& owner) {
    const std::lock_guard lock(mutex_);
    if (home_ && openedDataHome_ == owner.dataHome && home_->isCurrent(owner.home + "/.Trash"))
        return home_;
    auto opened = TrashFolder::openHome(owner);
    if (!opened) return opened.error();
    openedDataHome_ = owner.dataHome;
    home_ = std::make_shared<const TrashFolder>(std::move(opened.value()));
    return home_;
}

Result<void> Trash::recycle(const Path& folder, const std::vector<std::string>& names) {
    const auto owner = trashOwner(*identity_);
    if (!owner) return systemError(ENOENT);
    const Descriptor source = openSource(folder, *owner);
    if (!source) return systemError();

    const auto home = homeTrash(*owner);
    const bool onHomeVolume = home ? isOnDevice(source.get(), home.value()->device())
                                   : areOnOneDevice(source.get(), owner->home);
    if (!home && onHomeVolume) return home.error();

    // A plain path is written down as it stands.
    const Result<Path> path = isPlain(folder) ? folder : pathOf(source.get());
    if (!path) return path.error();
    std::optional<Result<TrashFolder>> volume;
    for (const std::string& name : names) {
        const TrashItem item{source.get(), path.value(), name};
        Result<void> taken = systemError(EXDEV);
        if (onHomeVolume) taken = home.value()->take(item);
        // Two mounts of one device, too, count as two volumes.
        if (!taken && taken.error().code == EXDEV) {
            if (!volume) volume = TrashFolder::openOnVolume(*owner, source.get());
            taken = volume->ok() ? volume->value().take(item) : volume->error();
        }
        if (!taken) return taken;
    }
    return {};
}

bool Trash::holds(const Path& destination) {
    // The home Trash first, which is made if missing.
    return homeTrashWithFilesAt(split(destination).first) ||
           liesInTrash(destination, trashOwner(*identity_)).value_or(false);
}

TrashAnnouncement Trash::announce(const Path& item, const Path& destination) {
    const auto [folder, name] = split(destination);
    const auto home = homeTrashWithFilesAt(folder);
    if (!home) return {holds(destination) ? freePath(folder, name) : destination};
    const auto files = home->filesPath();
    if (!files) return {destination};
    const auto reserved = home->reserve(item, name);
    if (reserved) return {files.value() + "/" + reserved.value(), true};
    // The item is moved all the same where there can be no info: it shows in the Trash folder then,
    // if not in the desktop's list.
    return {freePath(files.value(), name)};
}

void Trash::withdraw(const TrashAnnouncement& announced) {
    if (!exists(announced.destination)) cancel(announced);
}

void Trash::cancel(const TrashAnnouncement& announced) {
    if (!announced.isRecorded) return;
    const auto [folder, name] = split(announced.destination);
    if (const auto home = homeTrashWithFilesAt(folder)) home->withdraw(name);
}

// The home Trash if its files are what the path leads to.
Trash::Folder Trash::homeTrashWithFilesAt(const Path& folder) {
    const auto owner = trashOwner(*identity_);
    if (!owner) return nullptr;
    const auto home = homeTrash(*owner);
    return home && home.value()->hasFilesAt(folder) ? home.value() : nullptr;
}

} // namespace quorvane::platform::linux_
