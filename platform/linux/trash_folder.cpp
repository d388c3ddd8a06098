#include "platform/linux/trash_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>

#include "platform/linux/file_moving.h"
#include "platform/linux/mount_table.h"
#include "platform/linux/open_folders.h"
#include "platform/linux/trash_hand_over.h"
#include "platform/linux/trash_info.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr mode_t kInfoMode = 0600;

bool isNameOfItem(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

// The Trash that an administrator made for everybody; nothing where it is not safe to use.
Descriptor openShared(int top) {
    Descriptor shared = openFolder(top, ".Trash", LastLink::keep);
    struct stat status {};
    if (!shared || ::fstat(shared.get(), &status) == -1 || (status.st_mode & S_ISVTX) == 0)
        return {};
    return shared;
}

} // namespace

Result<TrashFolder> TrashFolder::open(int parent, const char* name, const TrashOwner& owner) {
    const Descriptor trash = openOrMakeFolder(parent, name);
    if (!trash) return systemError();
    struct stat status {};
    if (::fstat(trash.get(), &status) == -1) return systemError();
    if (status.st_uid != owner.uid) return systemError(EPERM);

    Descriptor info = openOrMakeFolder(trash.get(), "info");
    if (!info) return systemError();
    Descriptor files = openOrMakeFolder(trash.get(), "files");
    if (!files || ::fstat(files.get(), &status) == -1) return systemError();
    TrashFolder folder(std::move(info), std::move(files));
    folder.device_ = status.st_dev;
    folder.filesInode_ = status.st_ino;
    folder.rights_ = owner.rights;
    return folder;
}

Result<TrashFolder> TrashFolder::openHome(const TrashOwner& owner) {
    const ActingAs user(owner.rights);
    if (!user) return systemError();
    if (!makeFolders(owner.dataHome)) return systemError();
    const Path trash = owner.dataHome + "/Trash";
    auto folder = open(AT_FDCWD, trash.c_str(), owner);
    // Whatever is there already stays; the Trash works without the link.
    if (folder) ignore(::symlink((trash + "/files").c_str(), (owner.home + "/.Trash").c_str()));
    return folder;
}

Result<TrashFolder> TrashFolder::openOnVolume(const TrashOwner& owner, int folder) {
    const Descriptor top = topOfMount(folder);
    if (!top) return systemError();
    auto topPath = pathOf(top.get());
    if (!topPath) return topPath.error();

    const ActingAs user(owner.rights);
    if (!user) return systemError();
    const std::string number = std::to_string(owner.uid);
    Result<TrashFolder> trash = systemError(ENOENT);
    if (const Descriptor shared = openShared(top.get()))
        trash = open(shared.get(), number.c_str(), owner);
    if (!trash) trash = open(top.get(), (".Trash-" + number).c_str(), owner);
    if (trash) trash.value().volume_ = std::move(topPath.value());
    return trash;
}

bool TrashFolder::hasFilesAt(const Path& path) const {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && status.st_dev == device_ &&
           status.st_ino == filesInode_;
}

bool TrashFolder::isCurrent(const Path& files) const {
    struct stat status {};
    return hasFilesAt(files) && ::fstat(info_.get(), &status) == 0 && status.st_nlink > 0;
}

Result<Path> TrashFolder::filesPath() const { return pathOf(files_.get()); }

std::string TrashFolder::recordedPath(const TrashItem& item) const {
    if (!volume_) return item.folderPath + (item.folderPath.ends_with('/') ? "" : "/") + item.name;
    const auto folder = pathOf(item.folder);
    if (!folder || !folder.value().starts_with(*volume_)) return item.folderPath + "/" + item.name;
    const auto start = folder.value().find_first_not_of('/', volume_->size());
    return (start == Path::npos ? "" : folder.value().substr(start) + "/") + item.name;
}

Result<void> TrashFolder::writeInfo(const std::string& name, const std::string& content) const {
    const ActingAs user(rights_);
    if (!user) return systemError();
    const std::string infoName = name + std::string(kTrashInfoSuffix);
    const Descriptor file(retryInterrupted([&] {
        return ::openat(info_.get(), infoName.c_str(),
                        O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kInfoMode);
    }));
    if (!file) return systemError();
    const ssize_t written =
        retryInterrupted([&] { return ::write(file.get(), content.data(), content.size()); });
    if (written == static_cast<ssize_t>(content.size())) return {};
    // Less than all of so few bytes is written only where the disk is full.
    Error error = systemError(written == -1 ? errno : ENOSPC);
    ignore(::unlinkat(info_.get(), infoName.c_str(), 0));
    return error;
}

void TrashFolder::withdraw(const std::string& name) const {
    const ActingAs user(rights_);
    const std::string infoName = name + std::string(kTrashInfoSuffix);
    if (user) ignore(::unlinkat(info_.get(), infoName.c_str(), 0));
}

Result<std::string> TrashFolder::reserve(const Path& item, const std::string& name) const {
    if (!isNameOfItem(name)) return systemError(EINVAL);
    const std::string info = trashInfo(item, std::time(nullptr));
    Error error;
    for (int attempt = 0; attempt < kTrashNameAttempts; ++attempt) {
        std::string free = trashNameToTry(name, attempt);
        const auto written = writeInfo(free, info);
        struct stat status {};
        if (written && ::fstatat(files_.get(), free.c_str(), &status, AT_SYMLINK_NOFOLLOW) == -1 &&
            errno == ENOENT)
            return free;
        if (written) withdraw(free);
        error = written ? systemError(EEXIST) : written.error();
        if (error.code != EEXIST) break;
    }
    return error;
}

Result<void> TrashFolder::take(const TrashItem& item) const {
    if (!isNameOfItem(item.name)) return systemError(EINVAL);
    if (auto checked = checkHoldsNoMount(item.folder, item.name.c_str()); !checked) return checked;
    const std::string info = trashInfo(recordedPath(item), std::time(nullptr));

    // The superuser's hold on the very item, which the Trash's owner could swap once it is there.
    const Descriptor held(
        rights_ ? ::openat(item.folder, item.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC) : -1);

    Error error;
    for (int attempt = 0; attempt < kTrashNameAttempts; ++attempt) {
        const std::string name = trashNameToTry(item.name, attempt);
        if (const auto written = writeInfo(name, info); !written) {
            error = written.error();
        } else if (const auto moved =
                       renameItem({duplicate(item.folder), item.name}, {duplicate(files_), name});
                   moved) {
            if (held) handOver(held.get(), name);
            return {};
        } else {
            error = moved.error();
            withdraw(name);
        }
        if (error.code != EEXIST) break;
    }
    return error;
}

void TrashFolder::handOver(int item, const std::string& name) const {
    struct stat held {};
    struct stat moved {};
    if (::fstat(item, &held) == 0 && S_ISDIR(held.st_mode) &&
        ::fstatat(files_.get(), name.c_str(), &moved, AT_SYMLINK_NOFOLLOW) == 0 &&
        held.st_dev == moved.st_dev && held.st_ino == moved.st_ino)
        handOverFolders(item, rights_->uid);
}

} // namespace quorvane::platform::linux_
