#include "platform/linux/volumes.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include <sys/stat.h>

#include "platform/linux/mounts.h"

namespace quorvane::platform::linux_ {
namespace {

/// File systems without a device of their own that hold people's files nevertheless.
constexpr std::array<std::string_view, 4> kLocalWithoutDevice = {"tmpfs", "ramfs", "overlay",
                                                                 "zfs"};

std::string textOf(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    std::istringstream stream{std::string(text)};
    for (std::string piece; std::getline(stream, piece, separator);) pieces.push_back(piece);
    return pieces;
}

/// Types of file systems that need no device, network and system-internal ones among them.
std::vector<std::string> typesWithoutDevice(std::string_view fileSystems) {
    std::vector<std::string> types;
    for (const std::string& line : split(fileSystems, '\n')) {
        const std::vector<std::string> words = split(line, '\t');
        if (words.size() == 2 && words.front() == "nodev") types.push_back(words.back());
    }
    return types;
}

bool isFolder(const Path& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

std::vector<Path> localVolumesIn(std::string_view mounts, std::string_view fileSystems) {
    const std::vector<std::string> withoutDevice = typesWithoutDevice(fileSystems);
    std::vector<Path> volumes;
    for (const Mount& mount : mountsIn(mounts)) {
        const std::string type = mount.type.substr(0, mount.type.find('.')); // "fuse.sshfs"
        if (std::ranges::find(withoutDevice, type) != withoutDevice.end() &&
            std::ranges::find(kLocalWithoutDevice, type) == kLocalWithoutDevice.end())
            continue;
        if (std::ranges::find(volumes, mount.point) == volumes.end())
            volumes.push_back(mount.point);
    }
    return volumes;
}

std::vector<Path> localVolumes() {
    std::vector<Path> volumes =
        localVolumesIn(textOf("/proc/self/mountinfo"), textOf("/proc/filesystems"));
    std::erase_if(volumes, [](const Path& volume) { return !isFolder(volume); });
    return volumes;
}

} // namespace quorvane::platform::linux_
