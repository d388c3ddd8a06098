// The table of mounts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

struct Mount {
    std::uint64_t number = 0;
    /// Tells the file system from others.
    std::string device;
    /// The folder of the file system that is shown at the mount point.
    Path root;
    Path point;
    /// Of the file system, with its variant: "fuse.sshfs".
    std::string type;
};

/// The mounts of this process, in the order in which they were made. Any thread, like all here.
std::vector<Mount> mounts();
/// The same out of a text in the format of /proc/self/mountinfo.
std::vector<Mount> mountsIn(std::string_view table);

/// A folder by its place in its file system, which is the same wherever that is mounted.
struct FileSystemPlace {
    std::string device;
    Path path;

    /// Whether the other place is this one or lies below it.
    bool holds(const FileSystemPlace& other) const;
};

/// Where an open folder is; null where the system does not tell.
std::optional<FileSystemPlace> placeInFileSystem(int folder, const std::vector<Mount>& mounts);

} // namespace quorvane::platform::linux_
