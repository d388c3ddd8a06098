#include "platform/linux/trash_places.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/linux/mount_table.h"
#include "platform/linux/open_folders.h"
#include "platform/linux/plain_path.h"

namespace quorvane::platform::linux_ {
namespace {

/// "Trash" in the folder where programs keep their data, unless the environment names another.
constexpr std::array<std::string_view, 3> kTrashInHome{".local", "share", "Trash"};

/// A folder by its place in its file system, which is the same wherever that is mounted.
struct VolumePlace {
    std::string volume;
    Path path;

    /// Whether the other place is this one or lies below it.
    bool holds(const VolumePlace& other) const {
        return volume == other.volume && isWithin(other.path, path);
    }
};

/// Where an open folder is; null where the system does not tell.
std::optional<VolumePlace> placeOf(int folder, const std::vector<Mount>& mounts) {
    struct statx status {};
    const auto path = pathOf(folder);
    if (!path || ::statx(folder, "", AT_EMPTY_PATH, STATX_MNT_ID, &status) == -1)
        return std::nullopt;
    const auto mount = std::ranges::find(mounts, status.stx_mnt_id, &Mount::id);
    // The mount that holds the root of a process is not told where that is no mount point.
    if (mount == mounts.end())
        return VolumePlace{"mount " + std::to_string(status.stx_mnt_id), path.value()};
    if (!isWithin(path.value(), mount->point)) return std::nullopt;
    return VolumePlace{mount->volume, plainPath(onVolume(*mount, path.value()))};
}

/// The folder above the item; for a path that ends in "..", which names no item of a folder, that
/// folder itself.
Descriptor openFolderAbove(const Path& path) {
    const Path plain = plainPath(path);
    if (plain.ends_with("/..")) return openFolder(AT_FDCWD, plain.c_str(), LastLink::follow);
    auto place = openParent(plain);
    return place ? std::move(place.value().folder) : Descriptor();
}

/// ".Trash" is an administrator's for everybody on a volume, or a home's; ".Trash-UID" one user's
/// on a volume.
bool isNameOfTrash(std::string_view name) {
    constexpr std::string_view kOfEverybody = ".Trash";
    constexpr std::string_view kOfOneUser = ".Trash-";
    if (name == kOfEverybody) return true;
    return name.starts_with(kOfOneUser) && name.size() > kOfOneUser.size() &&
           name.find_first_not_of("0123456789", kOfOneUser.size()) == std::string_view::npos;
}

/// Whether the path leads through a Trash, judging by names alone, since a Trash at the top of one
/// mount is somewhere else in another, and those of others cannot be looked into.
bool leadsThroughTrash(const Path& path) {
    const std::vector<std::string> parts = pathParts(path);
    return std::ranges::any_of(parts, isNameOfTrash) ||
           std::search(parts.begin(), parts.end(), kTrashInHome.begin(), kTrashInHome.end()) !=
               parts.end();
}

/// Folders of which each is the owner's Trash, or leads there.
std::vector<Path> trashesOf(const TrashOwner& owner) {
    return {owner.dataHome + "/Trash", owner.dataHome + "/Trash/files", owner.home + "/.Trash"};
}

} // namespace

std::optional<bool> liesInTrash(const Path& path, const std::optional<TrashOwner>& owner) {
    const Descriptor above = openFolderAbove(path);
    if (!above) return false; // there is no such item
    const auto mounts = currentMounts();
    const auto place = mounts ? placeOf(above.get(), mounts.value()) : std::nullopt;
    if (!place) return std::nullopt;
    if (leadsThroughTrash(place->path)) return true;
    if (!owner) return false;
    return std::ranges::any_of(trashesOf(*owner), [&](const Path& folder) {
        const Descriptor trash = openFolder(AT_FDCWD, folder.c_str(), LastLink::follow);
        const auto trashPlace = trash ? placeOf(trash.get(), mounts.value()) : std::nullopt;
        return trashPlace && trashPlace->holds(*place);
    });
}

} // namespace quorvane::platform::linux_
