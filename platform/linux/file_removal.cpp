#include "platform/linux/file_removal.h"

#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/directory.h"
#include "platform/linux/folder_trail.h"
#include "platform/linux/mount_table.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

enum class Folders { asTheyAre, madeAccessible };

std::uint64_t nanoseconds(const timespec& time) {
    constexpr std::uint64_t kPerSecond = 1'000'000'000;
    return static_cast<std::uint64_t>(time.tv_sec) * kPerSecond +
           static_cast<std::uint64_t>(time.tv_nsec);
}

class TreeRemoval {
public:
    explicit TreeRemoval(Folders folders, const CopiedItems* only = nullptr)
        : folders_(folders), only_(only) {}

    Result<void> remove(ItemPlace place, bool isDirectory);

private:
    /// What is still to be removed in a folder on the way down; the first one holds the item
    /// itself.
    struct Level {
        std::string name;
        std::vector<DirectoryEntry> pending;
    };

    Result<void> removeEntry(const DirectoryEntry& entry);
    bool mustStay(const std::string& name);
    Result<void> enter(const std::string& name);
    void makeAccessible(const std::string& name);
    Result<void> removeUnopened(const std::string& name, int openError);
    Result<void> leave();

    const Folders folders_;
    /// Everything without these.
    const CopiedItems* const only_;
    bool somethingStays_ = false;
    FolderTrail trail_;
    std::vector<Level> levels_;
};

Result<void> TreeRemoval::remove(ItemPlace place, bool isDirectory) {
    const Result<FolderIdentity> identity = identify(place.folder);
    if (!identity) return identity.error();
    trail_.enter(std::move(place.folder), identity.value());
    levels_.push_back({{}, {{place.name, isDirectory}}});
    while (true) {
        std::vector<DirectoryEntry>& pending = levels_.back().pending;
        if (pending.empty() && levels_.size() == 1) break;
        Result<void> step;
        if (pending.empty()) {
            step = leave();
        } else {
            const DirectoryEntry entry = std::move(pending.back());
            pending.pop_back();
            step = removeEntry(entry);
        }
        if (!step) return step;
    }
    return somethingStays_ ? Result<void>(systemError(ESTALE)) : Result<void>();
}

Result<void> TreeRemoval::removeEntry(const DirectoryEntry& entry) {
    if (mustStay(entry.name)) return {};
    if (!entry.isDirectory) {
        if (unlinkat(trail_.folder(), entry.name.c_str(), 0) == 0) return {};
        if (errno == ENOENT) return {};
        if (errno != EISDIR) return systemError();
    }
    return enter(entry.name);
}

bool TreeRemoval::mustStay(const std::string& name) {
    if (only_ == nullptr) return false;
    struct stat status {};
    const bool found = fstatat(trail_.folder(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    if (found && only_->contain(status)) return false;
    if (found || errno != ENOENT) somethingStays_ = true;
    return true;
}

Result<void> TreeRemoval::enter(const std::string& name) {
    if (folders_ == Folders::madeAccessible) makeAccessible(name);
    Descriptor folder(retryInterrupted([&] {
        return openat(trail_.folder(), name.c_str(),
                      O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    }));
    if (!folder) return removeUnopened(name, errno);
    const Result<FolderIdentity> identity = identify(folder);
    if (!identity) return identity.error();
    if (!areOnOneMount(identity.value(), trail_.identity())) return systemError(EBUSY);
    Result<std::vector<DirectoryEntry>> entries = readEntries(folder.get());
    if (!entries && entries.error().code == ENOENT) return {};
    if (!entries) return entries.error();
    trail_.enter(std::move(folder), identity.value());
    levels_.push_back({name, std::move(entries.value())});
    return {};
}

/// Lets the owner of a folder delete what it holds. By descriptor, so that nothing else gets the
/// mode; a failure shows when the folder is opened or emptied.
void TreeRemoval::makeAccessible(const std::string& name) {
    const Descriptor pinned(retryInterrupted([&] {
        return openat(trail_.folder(), name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    }));
    const std::string reopened = "/proc/self/fd/" + std::to_string(pinned.get());
    if (pinned) ignore(chmod(reopened.c_str(), S_IRWXU));
}

/// What could not be opened as a folder is none any more, or is one that the process may not read,
/// which it can still delete when it is empty.
Result<void> TreeRemoval::removeUnopened(const std::string& name, int openError) {
    if (openError == ENOENT) return {};
    const bool isFolder = openError != ENOTDIR && openError != ELOOP;
    const int parent = trail_.folder();
    if (unlinkat(parent, name.c_str(), isFolder ? AT_REMOVEDIR : 0) == 0) return {};
    return systemError(isFolder ? openError : errno);
}

/// Goes up from an emptied folder and deletes it.
Result<void> TreeRemoval::leave() {
    const std::string emptied = std::move(levels_.back().name);
    levels_.pop_back();
    if (auto left = trail_.leave(); !left) return left;
    if (unlinkat(trail_.folder(), emptied.c_str(), AT_REMOVEDIR) == 0) return {};
    if (errno == ENOENT) return {};
    if (only_ == nullptr || (errno != ENOTEMPTY && errno != EEXIST)) return systemError();
    somethingStays_ = true;
    return {};
}

Result<void> remove(const ItemPlace& place, Folders folders) {
    struct stat status {};
    if (fstatat(place.folder.get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return systemError();
    Descriptor folder = duplicate(place.folder);
    if (!folder) return systemError();
    return TreeRemoval(folders).remove({std::move(folder), place.name}, S_ISDIR(status.st_mode));
}

/// By their volumes where the kernel does not tell the mounts.
bool areOnOneMount(const struct statx& one, const struct statx& other) {
    if ((one.stx_mask & other.stx_mask & STATX_MNT_ID) != 0)
        return one.stx_mnt_id == other.stx_mnt_id;
    return one.stx_dev_major == other.stx_dev_major && one.stx_dev_minor == other.stx_dev_minor;
}

} // namespace

void CopiedItems::add(const struct stat& status) {
    versions_.insert(versionOf(status, status.st_nlink > 1 ? Names::several : Names::one));
}

bool CopiedItems::contain(const struct stat& status) const {
    return versions_.contains(versionOf(status, Names::one)) ||
           versions_.contains(versionOf(status, Names::several));
}

/// Deleting one of several names changes the others' change time, and deleting what a folder holds
/// both its times: these do not count.
CopiedItems::Version CopiedItems::versionOf(const struct stat& status, Names names) {
    const mode_t kind = status.st_mode & S_IFMT;
    Version version{status.st_dev, status.st_ino, kind, 0, 0, 0};
    if (kind == S_IFDIR) return version;
    version.size = static_cast<std::uint64_t>(status.st_size);
    version.modified = nanoseconds(status.st_mtim);
    if (names == Names::one) version.changed = nanoseconds(status.st_ctim);
    return version;
}

Result<void> removeTree(const Path& path) {
    const Result<ItemPlace> place = openParent(path);
    return place ? removeTree(place.value()) : place.error();
}

Result<void> removeTree(const ItemPlace& place) {
    const auto checked = checkHoldsNoMount(place.folder.get(), place.name.c_str());
    return checked ? remove(place, Folders::asTheyAre) : checked;
}

Result<void> removeUnfinished(const ItemPlace& place) {
    return remove(place, geteuid() == 0 ? Folders::asTheyAre : Folders::madeAccessible);
}

Result<void> removeCopied(const ItemPlace& place, const CopiedItems& copied) {
    Descriptor folder = duplicate(place.folder);
    if (!folder) return systemError();
    return TreeRemoval(Folders::asTheyAre, &copied).remove({std::move(folder), place.name}, false);
}

Result<void> checkRemovable(int folder, const char* name) {
    if (faccessat(folder, ".", W_OK | X_OK, AT_EACCESS) != 0) return systemError();
    constexpr unsigned kFields = STATX_BASIC_STATS | STATX_MNT_ID;
    struct statx above {};
    if (statx(folder, "", AT_EMPTY_PATH, kFields, &above) != 0) return systemError();
    struct statx item {};
    if (statx(folder, name, AT_SYMLINK_NOFOLLOW, kFields, &item) != 0) return systemError();
    if (!areOnOneMount(above, item)) return systemError(EBUSY);
    if ((item.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0)
        return systemError(EPERM);
    const uid_t user = geteuid();
    const bool mayRemove = user == 0 || user == above.stx_uid || user == item.stx_uid;
    if ((above.stx_mode & S_ISVTX) != 0 && !mayRemove) return systemError(EPERM);
    return {};
}

} // namespace quorvane::platform::linux_
