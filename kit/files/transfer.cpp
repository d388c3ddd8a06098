// Making folders and empty files, moving and copying.

#include "kit/files/QVFileManager.h"

#include "kit/auth/QVAuthorization.h"
#include "kit/auth/console.h"
#include "kit/base/characters.h"
#include "kit/base/components.h"
#include "kit/files/folder_walk.h"
#include "kit/files/waiting.h"
#include "kit/log/QVLog.h"
#include "kit/paths/QVLocalPaths.h"
#include "platform/Queues.h"
#include "platform/Services.h"

namespace quorvane {
namespace {

/// What a volume that ignores case needs to show the new spelling, in seconds.
constexpr double kCaseChangePause = 0.0005;

bool differInCaseOnly(const Path& source, const Path& destination) {
    return lowercase(source) == lowercase(destination);
}

/// Renames by way of a free name; nothing has happened when it fails.
bool moveInTwoSteps(platform::FileManager& files, const Path& source, const Path& destination) {
    const MaybePath between = QVFileManager::uniqueFilename(destination);
    if (!files.moveItem(source, *between)) return false;
    if (files.moveItem(*between, destination)) return true;
    // The item must not be left under a name that nobody knows.
    (void)files.moveItem(*between, source);
    return false;
}

} // namespace

bool QVFileManager::createDirectory(const MaybePath& folder, ShouldAuth shouldAuth) {
    if (!isDriveMountedForPath(folder)) {
        logToConsole("Unable to create directory. Drive is not mounted.");
        return false;
    }
    const auto made =
        platform::services().makeFileManager()->createDirectories(folder.value_or(Path()));
    if (made) return true;
    QVLog::appendLog("Error creating folder: %@. Authorizing...", made.error().text);
    if (shouldAuth == ShouldAuth::no) return false;
    return QVAuthorization::sharedController().authCreateDir(folder);
}

bool QVFileManager::createDirectory(const MaybePath& folder, std::chrono::seconds timeout) {
    if (!createDirectory(folder)) return false;
    return waitUntil([&] { return fileExistsAtPath(folder); }, timeout);
}

MaybePath QVFileManager::createDirectoryStructure(const MaybePath& source,
                                                  const MaybePath& destination) {
    if (!source || !destination) return std::nullopt;
    const bool isPlainFolder = isDirectoryAtPath(source) && !isPackageAtPath(source);
    MaybePath target = joinPath(destination, isPlainFolder ? std::string_view(*source)
                                                           : withoutLastComponent(*source));
    if (!fileExistsAtPath(target)) createDirectory(target);
    return target;
}

bool QVFileManager::copyFile(const MaybePath& source, const MaybePath& destination,
                             ShouldAuth shouldAuth) {
    if (!source) {
        QVLog::appendLogAndPrint("Error copying file: source path is nil");
        return false;
    }
    if (!destination) {
        QVLog::appendLogAndPrint("Error copying file %@: destination path is nil", source);
        return false;
    }
    unlockFile(Path(withoutLastComponent(*destination)));
    const auto copied = platform::services().makeFileManager()->copyItem(*source, *destination);
    if (copied) return true;
    QVLog::appendLog("Error copying file: %@. Authorizing...", copied.error().text);
    if (shouldAuth == ShouldAuth::no) return false;
    return QVAuthorization::sharedController().authCopyFile(source, destination);
}

bool QVFileManager::copyFile(const MaybePath& source, const MaybePath& destination,
                             std::chrono::seconds timeout) {
    if (!copyFile(source, destination)) return false;
    return waitUntil([&] { return fileExistsAtPath(destination); }, timeout);
}

bool QVFileManager::copyContentsOfDirectory(const MaybePath& source, const MaybePath& destination,
                                            std::chrono::seconds timeout) {
    for (const std::string& name : namesInFolder(source)) {
        QVLog::fastAppendLog("File: %@", name);
        if (!copyFile(joinPath(source, name), joinPath(destination, name), timeout)) return false;
    }
    return true;
}

bool QVFileManager::moveFile(const MaybePath& source, const MaybePath& destination,
                             ShouldAuth shouldAuth) {
    if (!source || !destination) return false;
    if (fileExistsAtPath(destination)) unlockFile(destination);
    // Below the destination: callers name the folder to move into there.
    unlockFolder(joinPath(destination, lastComponent(*source)));
    const auto files = platform::services().makeFileManager();
    if (differInCaseOnly(*source, *destination) && moveInTwoSteps(*files, *source, *destination))
        return true;
    const auto moved = files->moveItem(*source, *destination);
    if (moved) return true;
    QVLog::appendLog("Error moving file: %@.", moved.error().text);
    if (shouldAuth == ShouldAuth::no) return false;
    QVLog::appendLog("Authorizing...");
    return QVAuthorization::sharedController().authMoveFile(source, destination);
}

bool QVFileManager::moveFile(const MaybePath& source, const MaybePath& destination,
                             std::chrono::seconds timeout) {
    if (!moveFile(source, destination)) return false;
    if (differInCaseOnly(*source, *destination)) {
        // Where case is ignored the item stands at both paths.
        platform::services().queues->sleepFor(kCaseChangePause);
        return true;
    }
    return waitUntil([&] { return !fileExistsAtPath(source); }, timeout);
}

bool QVFileManager::createEmptyFile(const MaybePath& file) {
    const MaybePath temporary = QVLocalPaths::tempFile();
    if (!file || !temporary) return false;
    const auto files = platform::services().makeFileManager();
    if (!files->writeAtomically(*temporary, "")) return false;
    if (moveFile(temporary, file)) return true;
    (void)files->removeItem(*temporary);
    return false;
}

} // namespace quorvane
