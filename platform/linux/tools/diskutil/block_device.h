// What the kernel and the device manager tell everybody about a block device.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <sys/types.h>

#include "platform/Values.h"

namespace quorvane::platform::linux_::tools::diskutil {

/// What is not known is absent.
struct BlockDevice {
    /// As below /dev.
    std::string name;
    std::optional<bool> removable;
    std::optional<bool> writable;
    /// In bytes.
    std::optional<std::uint64_t> blockSize;
    /// How the disk is attached, such as "USB".
    std::optional<std::string> bus;
    /// Whether the disk stands in the computer; known only with the bus.
    std::optional<bool> internal;
};

/// None for a device that the kernel does not know.
std::optional<BlockDevice> blockDevice(dev_t device, const Path& system = "/sys");

/// What a volume is called.
struct VolumeTags {
    std::optional<std::string> label;
    std::optional<std::string> uuid;
};

/// From the device manager's links, or, where it has none and the process may read the device, from
/// the device.
VolumeTags volumeTags(dev_t device, const std::string& name, const Path& devices = "/dev");

} // namespace quorvane::platform::linux_::tools::diskutil
