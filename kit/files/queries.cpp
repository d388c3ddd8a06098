// What items and volumes are.

#include "kit/files/QVFileManager.h"

#include "kit/auth/console.h"
#include "kit/base/components.h"
#include "kit/files/folder_walk.h"
#include "kit/tasks/QVTaskEx.h"
#include "platform/Services.h"
#include "platform/Workspace.h"

namespace quorvane {
namespace {

constexpr const char* kVolumes = "/Volumes";
constexpr const char* kDiskTool = "/usr/sbin/diskutil";
constexpr std::chrono::seconds kDiskToolTimeout{5};

/// Whether the volume is there that a path with the prefix names.
bool isVolumeThere(const MaybePath& path, std::string_view prefix) {
    if (!path || !path->starts_with(prefix)) return true;
    const std::vector<std::string> components = pathComponents(*path);
    if (components.size() < 3) return true;
    // Two slashes begin it: components are joined as they are, and the file system takes them for
    // one.
    return QVFileManager::fileExistsAtPath(components[0] + "/" + components[1] + "/" +
                                           components[2]);
}

bool liesIn(const Path& path, const Path& folder) {
    return path == folder || path.starts_with(folder + "/");
}

std::optional<platform::ItemAttributes> attributesOf(const MaybePath& item) {
    if (!item) return std::nullopt;
    const auto attributes = platform::services().makeFileManager()->attributes(*item);
    return attributes ? std::optional(attributes.value()) : std::nullopt;
}

/// Adds up a tree. A folder that several paths lead to counts for each of them, but is looked into
/// once; a link back to a folder above adds nothing.
class SizeSum : public platform::TreeVisitor {
public:
    Answer enterFolder(std::string_view /*name*/, const platform::FileIdentity& folder) override {
        const auto [entry, isNew] = sizes_.try_emplace(folder, 0);
        if (isNew) {
            way_.push_back({&entry->second, total_});
            return Answer::goOn;
        }
        total_ += entry->second;
        return Answer::skip;
    }

    void leaveFolder() override {
        *way_.back().size = total_ - way_.back().totalBefore;
        way_.pop_back();
    }

    Answer meetItem(std::string_view /*name*/, std::uint64_t size) override {
        total_ += size;
        return Answer::goOn;
    }

    std::uint64_t total() const { return total_; }

private:
    struct Folder {
        std::uint64_t* size;
        std::uint64_t totalBefore;
    };

    std::uint64_t total_ = 0;
    /// 0 for folders on the way.
    FolderMap<std::uint64_t> sizes_;
    std::vector<Folder> way_;
};

} // namespace

bool QVFileManager::isPackageAtPath(const MaybePath& path) {
    return path && platform::services().workspace->isFilePackage(*path);
}

bool QVFileManager::isSymbolicLinkAtPath(const MaybePath& path) {
    return path && platform::services().makeFileManager()->linkDestination(*path).ok();
}

bool QVFileManager::isVolumeMountedForPath(const MaybePath& path) {
    return isVolumeThere(path, kVolumes);
}

bool QVFileManager::isDriveMountedForPath(const MaybePath& path) {
    return isVolumeThere(path, std::string(kVolumes) + "/");
}

MaybePath QVFileManager::volumeMountPointForPath(const MaybePath& path) {
    if (!path) return std::nullopt;
    for (const Path& volume : platform::services().workspace->mountedLocalVolumes())
        if (volume != "/" && liesIn(*path, volume)) return volume;
    return path->starts_with(kVolumes) ? std::nullopt : MaybePath("/");
}

std::optional<platform::FileTime> QVFileManager::modificationDateForFile(const MaybePath& item) {
    const auto attributes = attributesOf(item);
    return attributes ? attributes->modificationDate : std::nullopt;
}

std::optional<platform::FileTime> QVFileManager::creationDateForFile(const MaybePath& item) {
    const auto attributes = attributesOf(item);
    return attributes ? attributes->creationDate : std::nullopt;
}

std::uint64_t QVFileManager::fileSize(const MaybePath& item) {
    if (!isDirectoryAtPath(item)) {
        const auto attributes = attributesOf(item);
        return attributes ? attributes->size : 0;
    }
    SizeSum sum;
    // A walk that cannot be finished leaves what was added up until then.
    (void)platform::services().makeFileManager()->walkTree(*item, platform::ItemSizes::told, sum);
    return sum.total();
}

std::optional<platform::PropertyList>
QVFileManager::infoForDiskAtMountpoint(const MaybePath& mountPoint) {
    if (!mountPoint) return std::nullopt;
    const std::optional<Bytes> output =
        QVTaskEx::dataFromTask(kDiskTool, {"info", "-plist", *mountPoint}, kDiskToolTimeout);
    if (!output || output->empty()) return std::nullopt;
    auto info = platform::services().propertyLists->parse(*output);
    if (info) return std::move(info.value());
    logToConsole("Error converting diskutil output: %@", info.error().text);
    return std::nullopt;
}

} // namespace quorvane
