// What is mounted where, as the kernel tells it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

struct Mount {
    std::uint64_t id = 0;
    std::uint64_t parent = 0; ///< the mount that holds the mount point
    std::string volume;       ///< numbers that tell its file system from others
    Path root;                ///< the part of that file system that it shows
    Path point;               ///< where it shows it
    std::string type;
};

/// Reads a table in the format of /proc/self/mountinfo; lines that are none are left out.
std::vector<Mount> parseMounts(std::string_view table);

/// The mounts that this process sees. Any thread.
Result<std::vector<Mount>> currentMounts();

/// Whether a path without links is the top or lies below it, judging by the texts.
bool isWithin(const Path& path, const Path& top);

/// Where a path that leads through a mount stands on the mounted file system itself.
Path onVolume(const Mount& mount, const Path& path);

/// Whether a folder, named by its path without links and the mount through which that leads, is a
/// mount point or has one below it; also one that shows only on another way to the same folder.
bool holdsMount(const std::vector<Mount>& mounts, std::uint64_t mount, const Path& folder);

/// EBUSY for a folder where something is mounted, or is mounted below: what moves it takes the
/// mount along, and what removes it removes what is mounted, or stops there half-way. Looks at no
/// disk below the folder. Success for what is no folder, or is not there: of those the kernel
/// itself takes care. Any thread.
Result<void> checkHoldsNoMount(int parent, const char* name);

} // namespace quorvane::platform::linux_
