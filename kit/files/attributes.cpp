// Locks, permissions, metadata and timestamps.

#include "kit/files/QVFileManager.h"

#include <algorithm>
#include <chrono>

#include "kit/auth/QVAuthorization.h"
#include "kit/auth/console.h"
#include "kit/base/characters.h"
#include "kit/base/components.h"
#include "kit/files/folder_walk.h"
#include "kit/log/QVLog.h"
#include "kit/tasks/QVTaskEx.h"
#include "platform/ExtendedAttributes.h"
#include "platform/Services.h"
#include "platform/Workspace.h"

namespace quorvane {
namespace {

constexpr const char* kTouchTool = "/usr/bin/touch";
constexpr std::chrono::seconds kTouchTimeout{5};
/// The size that a metadata read announces, whatever the value's: callers keep their values below
/// it.
constexpr std::size_t kMetadataReadSize = 255;

platform::Result<void> change(const MaybePath& item, const platform::AttributeChanges& changes) {
    return platform::services().makeFileManager()->setAttributes(item.value_or(Path()), changes);
}

void setImmutable(const MaybePath& item, bool immutable) {
    platform::AttributeChanges changes;
    changes.immutable = immutable;
    const auto changed = change(item, changes);
    // Log readers look for this one wording, whichever way the flag was to go.
    if (!changed) QVLog::fastAppendLog("Unable to unlock file %@: %@", item, changed.error().text);
}

void setCreationDateToNow(const Path& item) {
    platform::AttributeChanges changes;
    changes.creationDate = std::chrono::system_clock::now();
    (void)change(item, changes); // a file system without creation dates is no failure
}

/// Tells the desktop at the end of a touch, however that ends.
class ChangeNotice {
public:
    explicit ChangeNotice(const Path& item) : item_(item) {}
    ChangeNotice(const ChangeNotice&) = delete;
    ChangeNotice& operator=(const ChangeNotice&) = delete;
    ~ChangeNotice() { platform::services().workspace->noteFileSystemChanged(item_); }

private:
    const Path& item_;
};

} // namespace

bool QVFileManager::isFileLocked(const MaybePath& item) {
    if (!item) return false;
    const auto attributes = platform::services().makeFileManager()->attributes(*item);
    return attributes && attributes.value().immutable.value_or(false);
}

void QVFileManager::lockFile(const MaybePath& item) { setImmutable(item, true); }

void QVFileManager::unlockFile(const MaybePath& item) { setImmutable(item, false); }

void QVFileManager::lockFolder(const MaybePath& folder) {
    if (folder) forEachFileBelow(*folder, [](const Path& file) { lockFile(file); });
}

void QVFileManager::unlockFolder(const MaybePath& folder) {
    if (folder) forEachFileBelow(*folder, [](const Path& file) { unlockFile(file); });
}

void QVFileManager::setPosixPermissions(unsigned long mode, const MaybePath& item) {
    platform::AttributeChanges changes;
    changes.posixPermissions = mode;
    const auto changed = change(item, changes);
    if (!changed)
        QVLog::appendLog("Error setting permissions for file %@: %@", item, changed.error().text);
}

void QVFileManager::disableFileSystemCachingForFile(const MaybePath& /*item*/) {}

MaybeText QVFileManager::metadataValueForKey(const MaybeText& key, const MaybePath& item) {
    platform::ExtendedAttributes& attributes = *platform::services().extendedAttributes;
    const Path path = item.value_or(Path());
    const std::string name = key.value_or(std::string());
    const auto size = attributes.size(path, name);
    logToConsole("buffer val: %i", size ? static_cast<int>(size.value()) : -1);
    if (!size) {
        logToConsole("Error retrieving file attribute: %i", size.error().code);
        return std::nullopt;
    }
    if (size.value() == 0) return std::nullopt;
    std::string value(std::max(size.value(), kMetadataReadSize), '\0');
    // A longer value does not fit and leaves the zeros as they are.
    (void)attributes.get(path, name, {value.data(), kMetadataReadSize});
    value.resize(size.value());
    return isValidUtf8(value) ? MaybeText(value) : std::nullopt;
}

bool QVFileManager::setMetadataValue(const MaybeText& value, const MaybeText& key,
                                     const MaybePath& item) {
    if (!value) return false; // there may be an older value, which nobody asked to empty
    const auto written = platform::services().extendedAttributes->set(
        item.value_or(Path()), key.value_or(std::string()), value->substr(0, value->find('\0')));
    if (written) return true;
    logToConsole("Error setting extended attribute for file %@ - %i", item, -1);
    return false;
}

bool QVFileManager::touchFile(const MaybePath& item, SetCreationDate setCreationDate) {
    if (!item) return false;
    const ChangeNotice notice(*item);
    const Arguments arguments{"-c", *item}; // -c: an item that is not there is not made
    const bool withCreationDate = setCreationDate == SetCreationDate::yes;
    if (platform::services().makeFileManager()->isWritable(*item)) {
        QVTaskEx::runTask(kTouchTool, arguments, kTouchTimeout);
        if (withCreationDate) setCreationDateToNow(*item);
        return true;
    }
    if (withCreationDate) setCreationDateToNow(*item);
    return QVAuthorization::sharedController().authExecTask(kTouchTool, arguments, Async::no) ==
           platform::kAuthorizationSuccess;
}

bool QVFileManager::setModificationDate(platform::FileTime date, const MaybePath& item) {
    platform::AttributeChanges changes;
    changes.modificationDate = date;
    return item && change(item, changes).ok();
}

} // namespace quorvane
