// One Trash folder on the disk: the user's own, or one at the top of a volume.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "platform/Values.h"
#include "platform/linux/acting_as.h"
#include "platform/linux/posix.h"
#include "platform/linux/trash_owner.h"

namespace quorvane::platform::linux_ {

/// An item to be moved: a name in an open folder, and the folder's path for the record.
struct TrashItem {
    int folder = -1;
    const Path& folderPath;
    const std::string& name;
};

/// An open Trash folder. Links in it are never followed. Its functions may be called by several
/// threads at once.
class TrashFolder {
public:
    /// The owner's own Trash, made if missing, with `~/.Trash` as a link to its files unless
    /// something is there already.
    static Result<TrashFolder> openHome(const TrashOwner& owner);
    /// The Trash of the volume that holds an open folder: `.Trash/UID` at its top where the
    /// administrator made a `.Trash` that is sticky and no link, else `.Trash-UID`, made if
    /// missing.
    static Result<TrashFolder> openOnVolume(const TrashOwner& owner, int folder);

    /// Device that holds the files.
    dev_t device() const { return device_; }
    /// Whether the folder still stands, with its files where the path leads to.
    bool isCurrent(const Path& files) const;
    /// Whether a path leads, through links, to the files folder of this Trash.
    bool hasFilesAt(const Path& path) const;
    /// The files folder's path without links.
    Result<Path> filesPath() const;

    /// Writes the item's info, then moves the item; EXDEV when it is on another volume, EBUSY where
    /// a mount would be taken along. After a failure the item is where it was and the info is gone.
    Result<void> take(const TrashItem& item) const;

    /// Writes the info of an item that another program is about to put into the files folder, under
    /// a name that is free in both folders, the name given where it can be. Returns the name.
    Result<std::string> reserve(const Path& item, const std::string& name) const;
    /// Takes back the info of an item that did not come.
    void withdraw(const std::string& name) const;

private:
    TrashFolder(Descriptor info, Descriptor files)
        : info_(std::move(info)), files_(std::move(files)) {}
    static Result<TrashFolder> open(int parent, const char* name, const TrashOwner& owner);

    Result<void> writeInfo(const std::string& name, const std::string& content) const;
    void handOver(int item, const std::string& name) const;
    std::string recordedPath(const TrashItem& item) const;

    Descriptor info_;
    Descriptor files_;
    dev_t device_ = 0;
    ino_t filesInode_ = 0;
    // Null for the home Trash, whose infos hold absolute paths.
    std::optional<Path> volume_;
    std::optional<FileRights> rights_;
};

} // namespace quorvane::platform::linux_
