#include "platform/linux/file_removal.h"

#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/directory.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

/// How many folders on the way down stay open. Those above are opened again through ".." on the way
/// back, so that a deep tree needs no more descriptors than a shallow one.
constexpr std::size_t kMostOpen = 32;

/// Tells one folder from another.
struct Identity {
    unsigned int deviceMajor = 0;
    unsigned int deviceMinor = 0;
    std::uint64_t inode = 0;
    /// 0 where the kernel does not tell.
    std::uint64_t mount = 0;

    bool operator==(const Identity&) const = default;
};

Result<Identity> identify(const Descriptor& folder) {
    struct statx status {};
    if (statx(folder.get(), "", AT_EMPTY_PATH, STATX_INO | STATX_MNT_ID, &status) != 0)
        return systemError();
    const bool tellsMount = (status.stx_mask & STATX_MNT_ID) != 0;
    return Identity{status.stx_dev_major, status.stx_dev_minor, status.stx_ino,
                    tellsMount ? status.stx_mnt_id : 0};
}

class TreeRemoval {
public:
    Result<void> remove(ItemPlace place, bool isDirectory);

private:
    /// A folder on the way down; the first one holds the item itself.
    struct Level {
        std::string name;
        Identity identity;
        Descriptor folder;
        std::vector<DirectoryEntry> pending;
    };

    Result<void> removeEntry(const DirectoryEntry& entry);
    Result<void> enter(const std::string& name);
    Result<void> removeUnopened(const std::string& name, int openError);
    Result<void> leave();
    Result<void> reopen(Level& parent, const Descriptor& child);

    std::vector<Level> levels_;
};

Result<void> TreeRemoval::remove(ItemPlace place, bool isDirectory) {
    const Result<Identity> identity = identify(place.folder);
    if (!identity) return identity.error();
    levels_.push_back({{}, identity.value(), std::move(place.folder), {{place.name, isDirectory}}});
    while (true) {
        std::vector<DirectoryEntry>& pending = levels_.back().pending;
        if (pending.empty() && levels_.size() == 1) return {};
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
}

Result<void> TreeRemoval::removeEntry(const DirectoryEntry& entry) {
    if (!entry.isDirectory) {
        if (unlinkat(levels_.back().folder.get(), entry.name.c_str(), 0) == 0) return {};
        if (errno == ENOENT) return {};
        if (errno != EISDIR) return systemError();
    }
    return enter(entry.name);
}

Result<void> TreeRemoval::enter(const std::string& name) {
    Descriptor folder(retryInterrupted([&] {
        return openat(levels_.back().folder.get(), name.c_str(),
                      O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    }));
    if (!folder) return removeUnopened(name, errno);
    const Result<Identity> identity = identify(folder);
    if (!identity) return identity.error();
    if (identity.value().mount != levels_.back().identity.mount) return systemError(EBUSY);
    Result<std::vector<DirectoryEntry>> entries = readEntries(folder.get());
    if (!entries && entries.error().code == ENOENT) return {};
    if (!entries) return entries.error();
    if (levels_.size() >= kMostOpen) levels_[levels_.size() - kMostOpen].folder.reset();
    levels_.push_back({name, identity.value(), std::move(folder), std::move(entries.value())});
    return {};
}

/// What could not be opened as a folder is none any more, or is one that the process may not read,
/// which it can still delete when it is empty.
Result<void> TreeRemoval::removeUnopened(const std::string& name, int openError) {
    if (openError == ENOENT) return {};
    const bool isFolder = openError != ENOTDIR && openError != ELOOP;
    const int parent = levels_.back().folder.get();
    if (unlinkat(parent, name.c_str(), isFolder ? AT_REMOVEDIR : 0) == 0) return {};
    return systemError(isFolder ? openError : errno);
}

/// Goes up from an emptied folder and deletes it.
Result<void> TreeRemoval::leave() {
    const Level emptied = std::move(levels_.back());
    levels_.pop_back();
    Level& parent = levels_.back();
    if (!parent.folder) {
        if (auto reopened = reopen(parent, emptied.folder); !reopened) return reopened;
    }
    if (unlinkat(parent.folder.get(), emptied.name.c_str(), AT_REMOVEDIR) == 0) return {};
    if (errno == ENOENT) return {};
    return systemError();
}

/// A folder that was moved meanwhile has another parent: the walk must not go on there.
Result<void> TreeRemoval::reopen(Level& parent, const Descriptor& child) {
    parent.folder = Descriptor(retryInterrupted(
        [&] { return openat(child.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC); }));
    if (!parent.folder) return systemError();
    const Result<Identity> identity = identify(parent.folder);
    if (!identity) return identity.error();
    if (identity.value() != parent.identity) return systemError(ESTALE);
    return {};
}

} // namespace

Result<void> removeTree(const Path& path) {
    Result<ItemPlace> place = openParent(path);
    if (!place) return place.error();
    struct stat status {};
    const ItemPlace& item = place.value();
    if (fstatat(item.folder.get(), item.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return systemError();
    return TreeRemoval().remove(std::move(place.value()), S_ISDIR(status.st_mode));
}

} // namespace quorvane::platform::linux_
