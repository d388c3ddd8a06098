// Deleting items outright, and folders that hold nothing that matters.

#include "kit/files/QVFileManager.h"

#include "kit/auth/QVAuthorization.h"
#include "kit/base/components.h"
#include "kit/files/folder_walk.h"
#include "kit/files/waiting.h"
#include "kit/log/QVLog.h"
#include "platform/Services.h"

namespace quorvane {
namespace {

/// Files that the desktop puts into folders by itself.
bool isDesktopMetadata(std::string_view name) { return name == ".DS_Store" || name == "Icon\r"; }

/// Each folder is looked into once: what a second path leads to was found empty before, or is being
/// looked at. A link back to a folder above keeps the tree from being empty, as following it for
/// ever would.
class EmptinessTest {
public:
    bool holdsNothing(const Path& folder, const platform::FileIdentity& identity) {
        underWay_.insert(identity);
        for (const std::string& name : namesInFolder(folder))
            if (!isDesktopMetadata(name) && !isEmptyFolder(joinPath(folder, name))) return false;
        underWay_.erase(identity);
        foundEmpty_.insert(identity);
        return true;
    }

private:
    bool isEmptyFolder(const Path& item) {
        const auto existence = platform::services().makeFileManager()->existence(item);
        if (!existence.isDirectory || underWay_.contains(existence.identity)) return false;
        return foundEmpty_.contains(existence.identity) || holdsNothing(item, existence.identity);
    }

    std::set<platform::FileIdentity> underWay_;
    std::set<platform::FileIdentity> foundEmpty_;
};

} // namespace

bool QVFileManager::removeFile(const MaybePath& item, ShouldAuth shouldAuth) {
    unlockFile(item);
    const auto files = platform::services().makeFileManager();
    if (!item || !files->existence(*item).exists) return true;
    const platform::Result<void> removed = files->removeItem(*item);
    if (removed) return true;
    QVLog::appendLog("Error removing file: %@. Authorizing...", removed.error().text);
    if (shouldAuth == ShouldAuth::no) return false;
    return QVAuthorization::sharedController().authRemoveFile(item);
}

bool QVFileManager::removeFile(const MaybePath& item, std::chrono::seconds timeout) {
    if (!removeFile(item)) return false;
    return waitUntil([&] { return !fileExistsAtPath(item); }, timeout);
}

bool QVFileManager::isFolderEmpty(const MaybePath& folder) {
    if (!folder) return true;
    const auto existence = platform::services().makeFileManager()->existence(*folder);
    return EmptinessTest().holdsNothing(*folder, existence.identity);
}

bool QVFileManager::removeFolderIfEmpty(const MaybePath& folder) {
    return isFolderEmpty(folder) && removeFile(folder);
}

} // namespace quorvane
