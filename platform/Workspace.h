// The desktop's workspace: the Trash, application bundles, volumes.
#pragma once

#include <string>
#include <vector>

#include "platform/Values.h"

namespace quorvane::platform {

/// Any thread.
class Workspace {
public:
    virtual ~Workspace() = default;

    /// Moves the named items of the source folder to the Trash, so that the desktop lists them and
    /// can put them back. A final symbolic link is moved itself. The destination is where the
    /// caller expects the items; an item on another volume goes to that volume's own Trash. A taken
    /// name gets a free one. On the first failure it stops: that item and those after it stay as
    /// they were. Never copies, never deletes.
    virtual Result<void> recycle(const Path& sourceFolder, const Path& destinationFolder,
                                 const std::vector<std::string>& names) = 0;
    /// Whether an item lies in a Trash, the user's or anybody else's. It counts where it really is,
    /// whatever path leads there; a final link is the item itself. An item that is not there counts
    /// as its folder does.
    virtual bool isInTrash(const Path& path) = 0;
    /// The path of the application bundle with this identifier; null when there is none. What lies
    /// in a Trash or in a hidden folder is not found.
    virtual MaybePath bundlePath(const std::string& identifier) = 0;
    /// Whether the superuser alone decides what stands at an absolute path, now and later: every
    /// folder above the item is a real one, reached by its own name, belongs to the superuser and
    /// cannot be changed by anybody else. The item itself is not looked at.
    virtual bool isSuperusersPlace(const Path& path) = 0;
    /// The mount points of the volumes on this machine's own storage, in the order in which they
    /// were mounted; network and system-internal file systems are none.
    virtual std::vector<Path> mountedLocalVolumes() = 0;
    /// Whether the item is a folder that the desktop presents as one file, such as an application.
    virtual bool isFilePackage(const Path& path) = 0;
    /// Tells the desktop that something changed at the path. Does nothing where nobody listens.
    virtual void noteFileSystemChanged(const Path& path) = 0;
};

} // namespace quorvane::platform
