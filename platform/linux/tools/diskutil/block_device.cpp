#include "platform/linux/tools/diskutil/block_device.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>

#include <sys/sysmacros.h>

#include "platform/linux/small_file.h"

namespace quorvane::platform::linux_::tools::diskutil {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kAttributeLimit = 4096; // the kernel's own: a page

struct Bus {
    const char* folder = nullptr; ///< in the path of the disk among the kernel's devices
    const char* name = nullptr;
    std::optional<bool> internal;
};

/// A disk behind several buses is known by the first of these.
constexpr std::array kBuses = {
    Bus{"/usb", "USB", false},
    Bus{"/fw", "FireWire", false},
    Bus{"/virtual/block/loop", "Disk Image", false},
    Bus{"/mmc_host", "Secure Digital", std::nullopt}, // or a chip on the board
    Bus{"/nvme", "PCI-Express", true},
    Bus{"/ata", "SATA", true},
    Bus{"/virtio", "Virtio", true},
};

std::optional<std::uint64_t> numberIn(const fs::path& attribute) {
    const Result<Bytes> text = readSmallFile(attribute, kAttributeLimit);
    if (!text) return std::nullopt;
    std::uint64_t value = 0;
    const Bytes& digits = text.value();
    const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (end.ec != std::errc()) return std::nullopt;
    return value;
}

std::optional<bool> flagIn(const fs::path& attribute) {
    const auto value = numberIn(attribute);
    if (!value) return std::nullopt;
    return *value != 0;
}

/// The disk that a partition is on; a disk itself.
fs::path diskOf(const fs::path& device) {
    std::error_code ignored;
    return fs::exists(device / "partition", ignored) ? device.parent_path() : device;
}

/// The disk below mapped and encrypted devices; the first of several.
fs::path physicalDisk(fs::path device) {
    std::error_code error;
    for (;;) {
        device = diskOf(device);
        const fs::directory_iterator slaves(device / "slaves", error);
        if (error || slaves == fs::directory_iterator()) return device;
        const fs::path below = fs::canonical(slaves->path(), error);
        if (error) return device;
        device = below;
    }
}

void describeBus(const fs::path& disk, BlockDevice& device) {
    const auto bus = std::find_if(kBuses.begin(), kBuses.end(), [&](const Bus& each) {
        return disk.native().find(each.folder) != std::string::npos;
    });
    if (bus == kBuses.end()) return;
    device.bus = bus->name;
    device.internal = bus->internal;
    if (bus->internal && device.removable) device.internal = *bus->internal && !*device.removable;
}

} // namespace

std::optional<BlockDevice> blockDevice(dev_t device, const Path& system) {
    const std::string number = std::to_string(major(device)) + ":" + std::to_string(minor(device));
    std::error_code error;
    const fs::path folder = fs::canonical(fs::path(system) / "dev/block" / number, error);
    if (error) return std::nullopt;
    const fs::path disk = physicalDisk(folder);
    BlockDevice found;
    found.name = folder.filename();
    std::replace(found.name.begin(), found.name.end(), '!', '/'); // which no file name can have
    found.removable = flagIn(disk / "removable");
    if (const auto readOnly = flagIn(folder / "ro")) found.writable = !*readOnly;
    found.blockSize = numberIn(disk / "queue/logical_block_size");
    describeBus(disk, found);
    return found;
}

} // namespace quorvane::platform::linux_::tools::diskutil
