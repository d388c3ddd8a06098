// The user's Trash after the freedesktop.org Trash specification.
#pragma once

#include <sys/stat.h>

#include <memory>
#include <mutex>
#include <optional>
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
    /// What is in the item's way in the Trash, and gives way only if the move succeeds.
    struct Older {
        struct stat status;
        Bytes info; ///< empty where it has none
    };

    Path destination; ///< the path to move it to
    std::optional<Older> older;
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

    /// Prepares for a tool that will itself move the item to a destination in `~/.Trash`: writes
    /// the item's info, so that the desktop can put it back, and answers the path to move it to,
    /// which has no links. Any other destination, and one in a `~/.Trash` that is a folder of its
    /// own, is answered as it is.
    TrashAnnouncement announce(const Path& item, const Path& destination);
    /// Takes an announced item's info back if the item did not come to its destination. What stands
    /// there still gets its own back.
    void withdraw(const TrashAnnouncement& announced);

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
