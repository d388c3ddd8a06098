// Mounted volumes.
#pragma once

#include <string_view>
#include <vector>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// As Workspace::mountedLocalVolumes: folders where a file system of a block device, or one that is
/// kept in memory or layered over others, is mounted.
std::vector<Path> localVolumes();

/// The same out of a table of mounts in the format of /proc/self/mountinfo and a list of file
/// systems in that of /proc/filesystems. A mount point that is covered by a later mount comes once.
/// Looks at no disk: what is mounted on a file is among them.
std::vector<Path> localVolumesIn(std::string_view mounts, std::string_view fileSystems);

} // namespace quorvane::platform::linux_
