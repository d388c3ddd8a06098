// The open folders on the way down a tree.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/Values.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {

/// Tells one folder from another.
struct FolderIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    /// 0 where the kernel does not tell.
    std::uint64_t mount = 0;

    bool operator==(const FolderIdentity&) const = default;
};

Result<FolderIdentity> identify(const Descriptor& folder);

/// Whether it is the same folder, by whatever mount it was reached.
bool areOneFolder(const FolderIdentity& one, const FolderIdentity& other);

/// Whether nothing is mounted between two folders; by their volumes where the kernel does not tell
/// the mounts.
bool areOnOneMount(const FolderIdentity& one, const FolderIdentity& other);

/// The way from a first folder down to the current one, by descriptor: no path is looked up again,
/// so that neither the depth of a tree nor a folder that is swapped meanwhile leads astray. Few of
/// them stay open; the others are opened again through ".." on the way back.
class FolderTrail {
public:
    /// How a folder is reached: from below a link, ".." does not lead back.
    enum class By { name, link };

    std::size_t depth() const { return levels_.size(); }
    /// How many links lie on the way.
    std::size_t links() const { return links_; }
    /// The current folder's descriptor, for look-ups in it.
    int folder() const { return levels_.back().folder.get(); }
    const FolderIdentity& identity() const { return levels_.back().identity; }

    void enter(Descriptor folder, const FolderIdentity& identity, By by = By::name);
    /// Goes back up. ESTALE where the folder has another parent now: a walk must not go on there.
    Result<void> leave();

private:
    struct Level {
        Descriptor folder;
        FolderIdentity identity;
        By by;
    };

    std::vector<Level> levels_;
    std::size_t links_ = 0;
};

} // namespace quorvane::platform::linux_
