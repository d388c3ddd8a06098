// Which mounted volume is meant.
#pragma once

#include <optional>
#include <string>

#include <sys/types.h>

#include "platform/Values.h"

namespace quorvane::platform::linux_::tools::diskutil {

inline constexpr const char* kMountTable = "/proc/self/mountinfo";

/// A line of the table of mounts.
struct Mount {
    Path mountPoint;
    std::string type;
    /// The block device below; 0 where there is none, or none that the kernel names.
    dev_t device = 0;
};

/// The mount that holds an item, whatever its path looks like: links are followed.
std::optional<Mount> mountOfItem(const Path& item, const Path& table = kMountTable);

/// The first mount of a block device.
std::optional<Mount> mountOfDevice(dev_t device, const Path& table = kMountTable);

} // namespace quorvane::platform::linux_::tools::diskutil
