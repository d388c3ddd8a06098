#include "platform/linux/empty_folders.h"

#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/FileManager.h"
#include "platform/linux/directory.h"
#include "platform/linux/file_removal.h"
#include "platform/linux/folder_trail.h"

namespace quorvane::platform::linux_ {
namespace {

/// What may lie in a folder that counts as empty.
struct Contents {
    std::vector<std::string> folders;
    std::vector<std::string> metadata;
};

/// Opens a folder in a folder for listing. What is mounted there is EXDEV, and is not reached: it
/// could hang.
Descriptor openFolder(int parent, const char* name) {
    return openResolving(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC,
                         RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS);
}

/// Sorts an entry that the listing does not call a folder. ENOTEMPTY for what must stay.
Result<void> sort(int folder, std::string name, Contents& contents) {
    struct statx status {};
    if (statx(folder, name.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_TYPE, &status) !=
        0) {
        if (errno == ENOENT) return {}; // it has gone meanwhile
        return systemError();
    }
    if (S_ISDIR(status.stx_mode)) {
        contents.folders.push_back(std::move(name));
        return {};
    }
    if (!S_ISREG(status.stx_mode) || !isDesktopMetadata(name)) return systemError(ENOTEMPTY);
    if ((status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0) return systemError(EBUSY);
    contents.metadata.push_back(std::move(name));
    return {};
}

/// What an open folder holds. ENOTEMPTY where anything of it must stay.
Result<Contents> contentsOf(int folder) {
    Result<std::vector<DirectoryEntry>> entries = readEntries(folder);
    if (!entries) return entries.error();
    Contents contents;
    for (DirectoryEntry& entry : entries.value()) {
        if (entry.isDirectory)
            contents.folders.push_back(std::move(entry.name));
        else if (auto sorted = sort(folder, std::move(entry.name), contents); !sorted)
            return sorted.error();
    }
    return contents;
}

/// Whether a process may remove what is there is of no interest to one that only looks.
enum class Pass { look, checkRemovable, remove };

/// One pass through a tree of folders, each left after all that it holds.
class EmptyFolderWalk {
public:
    explicit EmptyFolderWalk(Pass pass) : pass_(pass) {}

    Result<void> walk(const ItemPlace& place);

private:
    /// A folder on the way down; the first one holds the item itself.
    struct Level {
        std::string name;
        std::vector<std::string> pending;
    };

    Result<void> enter(const std::string& name);
    Result<void> enter(const std::string& name, Descriptor folder);
    Result<void> unopened(int code) const;
    Result<void> unlessGone(const Error& error) const;
    Result<void> leave();
    Result<void> removeMetadata() const;

    const Pass pass_;
    FolderTrail trail_;
    std::vector<Level> levels_;
};

Result<void> EmptyFolderWalk::walk(const ItemPlace& place) {
    Descriptor above = duplicate(place.folder);
    if (!above) return systemError();
    const Result<FolderIdentity> identity = identify(above);
    if (!identity) return identity.error();
    trail_.enter(std::move(above), identity.value());
    levels_.push_back({{}, {place.name}});
    while (true) {
        std::vector<std::string>& pending = levels_.back().pending;
        if (pending.empty() && levels_.size() == 1) return {};
        Result<void> step;
        if (pending.empty()) {
            step = leave();
        } else {
            const std::string name = std::move(pending.back());
            pending.pop_back();
            step = enter(name);
        }
        if (!step) return step;
    }
}

Result<void> EmptyFolderWalk::enter(const std::string& name) {
    Descriptor folder = openFolder(trail_.folder(), name.c_str());
    return folder ? enter(name, std::move(folder)) : unopened(errno);
}

Result<void> EmptyFolderWalk::enter(const std::string& name, Descriptor folder) {
    Result<Contents> contents = contentsOf(folder.get());
    if (!contents) return unlessGone(contents.error());
    if (pass_ == Pass::checkRemovable) {
        if (auto checked = checkRemovable(trail_.folder(), name.c_str()); !checked) return checked;
        for (const std::string& file : contents.value().metadata)
            if (auto checked = checkRemovable(folder.get(), file.c_str()); !checked) return checked;
    }
    const Result<FolderIdentity> identity = identify(folder);
    if (!identity) return identity.error();
    trail_.enter(std::move(folder), identity.value());
    levels_.push_back({name, std::move(contents.value().folders)});
    return {};
}

/// What is said of a folder that could not be opened: below the item, one that has gone is none,
/// and what came in its place must stay.
Result<void> EmptyFolderWalk::unopened(int code) const {
    const bool isItem = levels_.size() == 1;
    switch (code) {
    case ENOENT:
        if (!isItem) return {};
        break;
    case ENOTDIR:
    case ELOOP:
        return systemError(isItem ? ENOTDIR : ENOTEMPTY);
    case EXDEV:
        return systemError(EBUSY);
    default:
        break;
    }
    return unlessGone(systemError(code));
}

/// What others remove meanwhile is none of this removal's failures.
Result<void> EmptyFolderWalk::unlessGone(const Error& error) const {
    if (pass_ == Pass::remove && error.code == ENOENT) return {};
    return error;
}

/// Goes up from a folder that holds no other any more.
Result<void> EmptyFolderWalk::leave() {
    if (pass_ == Pass::remove)
        if (auto removed = removeMetadata(); !removed) return removed;
    const std::string left = std::move(levels_.back().name);
    levels_.pop_back();
    if (auto above = trail_.leave(); !above) return above;
    if (pass_ != Pass::remove || unlinkat(trail_.folder(), left.c_str(), AT_REMOVEDIR) == 0)
        return {};
    if (errno == ENOENT) return {};
    return systemError(errno == EEXIST ? ENOTEMPTY : errno);
}

/// Looks again first: a folder that stays keeps its metadata.
Result<void> EmptyFolderWalk::removeMetadata() const {
    const Descriptor folder = openFolder(trail_.folder(), ".");
    if (!folder) return unlessGone(systemError());
    const Result<Contents> contents = contentsOf(folder.get());
    if (!contents) return unlessGone(contents.error());
    if (!contents.value().folders.empty()) return systemError(ENOTEMPTY);
    for (const std::string& file : contents.value().metadata)
        if (unlinkat(folder.get(), file.c_str(), 0) != 0 && errno != ENOENT) return systemError();
    return {};
}

} // namespace

Result<void> checkEmptyFolders(const Path& path) {
    const Result<ItemPlace> place = openParent(path);
    return place ? EmptyFolderWalk(Pass::look).walk(place.value()) : place.error();
}

Result<void> removeEmptyFolders(const Path& path) {
    const Result<ItemPlace> place = openParent(path);
    return place ? removeEmptyFolders(place.value()) : place.error();
}

Result<void> removeEmptyFolders(const ItemPlace& place) {
    auto checked = EmptyFolderWalk(Pass::checkRemovable).walk(place);
    return checked ? EmptyFolderWalk(Pass::remove).walk(place) : checked;
}

} // namespace quorvane::platform::linux_
