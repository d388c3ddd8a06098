#include "platform/linux/file_copying.h"

#include <climits>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/content_copy.h"
#include "platform/linux/directory.h"
#include "platform/linux/file_moving.h"
#include "platform/linux/file_removal.h"
#include "platform/linux/folder_trail.h"
#include "platform/linux/kept_attributes.h"
#include "platform/linux/posix.h"
#include "platform/linux/temporary_name.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int kPlaceFlags = O_PATH | O_NOFOLLOW | O_CLOEXEC;

Descriptor openAt(int folder, const char* name, int flags, mode_t mode = 0) {
    return Descriptor(retryInterrupted([&] { return openat(folder, name, flags, mode); }));
}

class TreeCopy {
public:
    TreeCopy(CopiedItems* copied, Privileges privileges)
        : copied_(copied), privileges_(privileges) {}

    /// Copies the item at a place into another folder, under a name that is free there.
    Result<void> copy(ItemPlace source, Descriptor folder, const std::string& name);

private:
    /// A folder on the way down; the first one holds the item itself.
    struct Level {
        struct stat status;
        std::vector<DirectoryEntry> pending;
    };

    Result<void> copyEntry(const std::string& name, const std::string& as);
    Result<void> copyFile(const char* name, const char* as);
    Result<void> copyLink(const char* name, const char* as, const struct stat& status);
    Result<void> copyNode(const char* name, const char* as);
    Result<void> enter(const std::string& name, const std::string& as);
    Result<void> leave();

    void note(const struct stat& status);

    CopiedItems* const copied_; ///< null where the source stays
    const Privileges privileges_;
    FolderIdentity destination_; ///< the folder that the copy is made in
    FolderTrail sources_;
    FolderTrail copies_;
    std::vector<Level> levels_;
};

Result<void> TreeCopy::copy(ItemPlace source, Descriptor folder, const std::string& name) {
    const Result<FolderIdentity> from = identify(source.folder);
    if (!from) return from.error();
    const Result<FolderIdentity> to = identify(folder);
    if (!to) return to.error();
    destination_ = to.value();
    sources_.enter(std::move(source.folder), from.value());
    copies_.enter(std::move(folder), to.value());
    levels_.push_back({});
    Result<void> done = copyEntry(source.name, name);
    while (done && levels_.size() > 1) {
        std::vector<DirectoryEntry>& pending = levels_.back().pending;
        if (pending.empty()) {
            done = leave();
        } else {
            const std::string next = std::move(pending.back().name);
            pending.pop_back();
            done = copyEntry(next, next);
        }
    }
    return done;
}

Result<void> TreeCopy::copyEntry(const std::string& name, const std::string& as) {
    struct stat status {};
    if (fstatat(sources_.folder(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return systemError();
    if (copied_ != nullptr)
        if (auto removable = checkRemovable(sources_.folder(), name.c_str()); !removable)
            return removable;
    if (S_ISDIR(status.st_mode)) return enter(name, as);
    if (S_ISREG(status.st_mode)) return copyFile(name.c_str(), as.c_str());
    if (S_ISLNK(status.st_mode)) return copyLink(name.c_str(), as.c_str(), status);
    return copyNode(name.c_str(), as.c_str());
}

Result<void> TreeCopy::copyFile(const char* name, const char* as) {
    // Without blocking: it may have become a FIFO just now.
    const Descriptor source =
        openAt(sources_.folder(), name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (!source) return systemError();
    struct stat status {};
    if (fstat(source.get(), &status) != 0) return systemError();
    if (!S_ISREG(status.st_mode)) return systemError(ESTALE);
    note(status);
    Descriptor copy =
        openAt(copies_.folder(), as, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
               S_IRUSR | S_IWUSR);
    if (!copy) return systemError();
    if (auto dropped = dropInheritedLists(copy.get()); !dropped) return dropped;
    if (auto copied = copyContent(source.get(), copy.get()); !copied) return copied;
    auto kept = keepAttributes(source.get(), copy.get(), status, privileges_);
    if (!kept) return kept;
    // Some file systems tell only now that the disk is full.
    if (close(copy.release()) != 0 && errno != EINTR) return systemError();
    return {};
}

Result<void> TreeCopy::copyLink(const char* name, const char* as, const struct stat& status) {
    note(status);
    std::string target(PATH_MAX, '\0'); // no link is longer
    const ssize_t size = readlinkat(sources_.folder(), name, target.data(), target.size());
    if (size < 0) return systemError();
    target.resize(static_cast<std::size_t>(size));
    if (symlinkat(target.c_str(), copies_.folder(), as) != 0) return systemError();
    return keepAttributesOfLink(copies_.folder(), as, status);
}

Result<void> TreeCopy::copyNode(const char* name, const char* as) {
    const Descriptor source = openAt(sources_.folder(), name, kPlaceFlags);
    if (!source) return systemError();
    struct stat status {};
    if (fstat(source.get(), &status) != 0) return systemError();
    const mode_t kind = status.st_mode & S_IFMT;
    if (kind == S_IFREG || kind == S_IFDIR || kind == S_IFLNK) return systemError(ESTALE);
    const bool isDevice = kind == S_IFBLK || kind == S_IFCHR;
    if (isDevice && (privileges_ == Privileges::dropped || !honoursDevices(source.get())))
        return systemError(EPERM);
    note(status);
    if (mknodat(copies_.folder(), as, kind | S_IRUSR | S_IWUSR, status.st_rdev) != 0)
        return systemError();
    const Descriptor copy = openAt(copies_.folder(), as, kPlaceFlags);
    if (!copy) return systemError();
    if (auto dropped = dropInheritedLists(copy.get()); !dropped) return dropped;
    return keepAttributes(source.get(), copy.get(), status, privileges_);
}

Result<void> TreeCopy::enter(const std::string& name, const std::string& as) {
    Descriptor source = openAt(sources_.folder(), name.c_str(), kFolderFlags);
    if (!source) return systemError();
    struct stat status {};
    if (fstat(source.get(), &status) != 0) return systemError();
    note(status);
    const Result<FolderIdentity> from = identify(source);
    if (!from) return from.error();
    // By another mount, or moved here meanwhile: the copy would go on copying itself.
    if (areOneFolder(from.value(), destination_)) return systemError(EINVAL);
    Result<std::vector<DirectoryEntry>> entries = readEntries(source.get());
    if (!entries) return entries.error();
    if (mkdirat(copies_.folder(), as.c_str(), S_IRWXU) != 0) return systemError();
    Descriptor copy = openAt(copies_.folder(), as.c_str(), kFolderFlags);
    if (!copy) return systemError();
    if (auto dropped = dropInheritedLists(copy.get()); !dropped) return dropped;
    const Result<FolderIdentity> to = identify(copy);
    if (!to) return to.error();
    sources_.enter(std::move(source), from.value());
    copies_.enter(std::move(copy), to.value());
    levels_.push_back({status, std::move(entries.value())});
    return {};
}

/// Goes up from a folder and completes it. Only now that all below it is copied does it go to its
/// owner, and may it be one that its owner cannot look into: the way up leads through it.
Result<void> TreeCopy::leave() {
    const Descriptor source = openAt(sources_.folder(), ".", kFolderFlags);
    if (!source) return systemError();
    const Descriptor copy = openAt(copies_.folder(), ".", kFolderFlags);
    if (!copy) return systemError();
    const struct stat status = levels_.back().status;
    levels_.pop_back();
    if (auto left = sources_.leave(); !left) return left;
    if (auto left = copies_.leave(); !left) return left;
    return keepAttributes(source.get(), copy.get(), status, privileges_);
}

void TreeCopy::note(const struct stat& status) {
    if (copied_ != nullptr) copied_->add(status);
}

/// Whether a folder is the source, or lies below it.
Result<bool> liesWithin(const Descriptor& folder, const struct stat& source) {
    Descriptor above = openAt(folder.get(), ".", O_PATH | O_DIRECTORY | O_CLOEXEC);
    struct stat status {};
    while (above && fstat(above.get(), &status) == 0) {
        if (status.st_dev == source.st_dev && status.st_ino == source.st_ino) return true;
        const struct stat below = status;
        above = openAt(above.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC);
        if (!above || fstat(above.get(), &status) != 0) break;
        if (status.st_dev == below.st_dev && status.st_ino == below.st_ino)
            return false; // the root
    }
    return systemError();
}

Result<void> checkPlaces(const ItemPlace& source, const ItemPlace& destination) {
    struct stat status {};
    const int noFollow = AT_SYMLINK_NOFOLLOW;
    if (fstatat(destination.folder.get(), destination.name.c_str(), &status, noFollow) == 0)
        return systemError(EEXIST);
    if (errno != ENOENT) return systemError();
    if (fstatat(source.folder.get(), source.name.c_str(), &status, noFollow) != 0)
        return systemError();
    if (!S_ISDIR(status.st_mode)) return {};
    const Result<bool> within = liesWithin(destination.folder, status);
    if (!within) return within.error();
    return within.value() ? Result<void>(systemError(EINVAL)) : Result<void>();
}

Result<void> copyNoting(const ItemPlace& source, const ItemPlace& destination, CopiedItems* copied,
                        Privileges privileges) {
    if (auto checked = checkPlaces(source, destination); !checked) return checked;
    ItemPlace from{duplicate(source.folder), source.name};
    ItemPlace unfinished{duplicate(destination.folder), temporaryName()};
    Descriptor into = duplicate(destination.folder);
    if (!from.folder || !unfinished.folder || !into) return systemError();
    Result<void> done =
        TreeCopy(copied, privileges).copy(std::move(from), std::move(into), unfinished.name);
    if (done) done = renameItem(unfinished, destination);
    if (!done) ignore(removeUnfinished(unfinished));
    return done;
}

} // namespace

Result<void> copyTree(const Path& source, const Path& destination) {
    const Result<ItemPlace> from = openParent(source);
    if (!from) return from.error();
    const Result<ItemPlace> to = openParent(destination);
    if (!to) return to.error();
    return copyTree(from.value(), to.value());
}

Result<void> copyTree(const ItemPlace& source, const ItemPlace& destination,
                      Privileges privileges) {
    return copyNoting(source, destination, nullptr, privileges);
}

Result<void> copyTree(const ItemPlace& source, const ItemPlace& destination, CopiedItems& copied,
                      Privileges privileges) {
    return copyNoting(source, destination, &copied, privileges);
}

} // namespace quorvane::platform::linux_
