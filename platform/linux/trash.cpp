#include "platform/linux/trash.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <utility>

#include "platform/UserIdentity.h"
#include "platform/linux/open_folders.h"
#include "platform/linux/plain_path.h"

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

std::optional<struct stat> statusOf(const Path& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) == -1) return std::nullopt;
    return status;
}

// An item that was moved or copied to another's place differs from it at least in the time of its
// last change, even if it has got the same number.
bool isSameItem(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino &&
           one.st_ctim.tv_sec == other.st_ctim.tv_sec &&
           one.st_ctim.tv_nsec == other.st_ctim.tv_nsec;
}

std::pair<Path, std::string> split(const Path& path) {
    const auto slash = path.rfind('/');
    if (slash == Path::npos) return {".", path};
    return {slash == 0 ? "/" : path.substr(0, slash), path.substr(slash + 1)};
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
    const Descriptor source = openFolder(AT_FDCWD, folder.c_str(), LastLink::follow);
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

TrashAnnouncement Trash::announce(const Path& item, const Path& destination) {
    const auto [folder, name] = split(destination);
    const auto home = homeTrashWithFilesAt(folder);
    if (!home) return {destination, {}};
    const auto files = home->filesPath();
    if (!files) return {destination, {}};
    TrashAnnouncement announced{files.value() + "/" + name, {}};
    const auto status = statusOf(announced.destination);
    // A folder is never replaced: what is there keeps its info.
    if (status && S_ISDIR(status->st_mode)) return announced;
    if (status) announced.older = {*status, home->infoOf(name)};
    // The item is moved all the same where there can be no info: it shows in the Trash folder then,
    // if not in the desktop's list.
    (void)home->record(item, name);
    return announced;
}

void Trash::withdraw(const TrashAnnouncement& announced) {
    const auto& [destination, older] = announced;
    const auto status = statusOf(destination);
    if (status && !(older && isSameItem(older->status, *status))) return; // it has come
    const auto [folder, name] = split(destination);
    if (const auto home = homeTrashWithFilesAt(folder))
        home->restore(name, status ? older->info : Bytes());
}

// The home Trash if its files are what the path leads to.
Trash::Folder Trash::homeTrashWithFilesAt(const Path& folder) {
    const auto owner = trashOwner(*identity_);
    if (!owner) return nullptr;
    const auto home = homeTrash(*owner);
    return home && home.value()->hasFilesAt(folder) ? home.value() : nullptr;
}

} // namespace quorvane::platform::linux_
