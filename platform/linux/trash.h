// The user's Trash after the freedesktop.org Trash specification.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Values.h"
#include "platform/linux/trash_folder.h"
#include "platform/linux/trash_owner.h"

namespace quorvane::platform {
class UserIdentity;
}

namespace quorvane::platform::linux_ {

/// An item that a tool is about to move.
struct TrashAnnouncement {
    Path destination; ///< the path to move it to; a free one in the Trash
    bool isRecorded = false;
};

/// The superuser works in the Trash of the console user; without one every operation fails with
/// ENOENT. Any thread.
class Trash {
public:
    explicit Trash(std::shared_ptr<UserIdentity> identity);

    /// Moves the named items of a folder, in order, up to the first failure. Items on the volume of
    /// the user's home go to the home Trash, whatever `~/.Trash` is; others to their volume's
    /// Trash.
    Result<void> recycle(const Path& folder, const std::vector<std::string>& names);

    /// Whether a destination lies in a Trash, at any depth: in the user's own, in `~/.Trash`
    /// whatever that is, in a volume's or in another user's.
    bool holds(const Path& destination);
    /// Prepares for a tool that will itself move the item to a destination in the Trash, where
    /// nothing is replaced: returns a path under a name that is free there. In the home Trash that
    /// has no links, and the item's info is written, so that the desktop can put it back. Any other
    /// destination is returned as it is.
    TrashAnnouncement announce(const Path& item, const Path& destination);
    /// Takes an announced item's info back if nothing came to its destination.
    void withdraw(const TrashAnnouncement& announced);
    /// Takes an announced item's info back: the item did not come, whatever stands there by now.
    void cancel(const TrashAnnouncement& announced);

private:
    using Folder = std::shared_ptr<const TrashFolder>;

    Result<Folder> homeTrash(const TrashOwner& owner);
    Folder homeTrashWithFilesAt(const Path& folder);

    std::shared_ptr<UserIdentity> identity_;
    // The home Trash is kept open between calls: callers recycle item by item.
    std::mutex mutex_;
    Path openedDataHome_;
    Folder home_;
};

} // namespace quorvane::platform::linux_
