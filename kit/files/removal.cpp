// Deleting items outright, and folders that hold nothing that matters.

#include "kit/files/QVFileManager.h"

#include "kit/auth/QVAuthorization.h"
#include "kit/files/folder_walk.h"
#include "kit/files/waiting.h"
#include "kit/log/QVLog.h"
#include "platform/Services.h"

namespace quorvane {
namespace {

using platform::isDesktopMetadata;

/// Each folder is looked into once: what a second path leads to was found empty before, or is being
/// looked at. A link back to a folder above keeps the tree from being empty, as following it for
/// ever would.
class EmptinessTest : public platform::TreeVisitor {
public:
    Answer enterFolder(std::string_view name, const platform::FileIdentity& folder) override {
        if (isDesktopMetadata(name)) return Answer::skip;
        const auto [entry, isNew] = foundEmpty_.try_emplace(folder, false);
        if (isNew) {
            way_.push_back(&entry->second);
            return Answer::goOn;
        }
        return entry->second ? Answer::skip : findSomething();
    }

    void leaveFolder() override {
        *way_.back() = true;
        way_.pop_back();
    }

    Answer meetItem(std::string_view name, std::uint64_t /*size*/) override {
        return isDesktopMetadata(name) ? Answer::goOn : findSomething();
    }

    bool foundNothing() const { return !foundSomething_; }

private:
    Answer findSomething() {
        foundSomething_ = true;
        return Answer::stop;
    }

    /// False for folders on the way.
    FolderMap<bool> foundEmpty_;
    std::vector<bool*> way_;
    bool foundSomething_ = false;
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
    EmptinessTest test;
    // What was not looked at to the end may hold something: folders are deleted on this answer.
    return platform::services()
               .makeFileManager()
               ->walkTree(*folder, platform::ItemSizes::unknown, test)
               .ok() &&
           test.foundNothing();
}

bool QVFileManager::removeFolderIfEmpty(const MaybePath& folder) {
    return isFolderEmpty(folder) && removeFile(folder);
}

} // namespace quorvane
