// Into the Trash.

#include "kit/files/QVFileManager.h"

#include "kit/auth/QVAuthorization.h"
#include "kit/base/characters.h"
#include "kit/base/components.h"
#include "kit/files/folder_walk.h"
#include "kit/files/recycling.h"
#include "kit/files/waiting.h"
#include "kit/paths/QVLocalPaths.h"
#include "platform/Services.h"
#include "platform/Workspace.h"

namespace quorvane {

bool recycle(const Path& item) {
    const MaybePath trash = QVLocalPaths::trashDirectory();
    return platform::services()
        .workspace
        ->recycle(Path(withoutLastComponent(item)), trash.value_or(Path()),
                  {std::string(lastComponent(item))})
        .ok();
}

namespace {

/// Trashes the files below the folder that the test picks; answers the paths tried.
template <class Test>
std::vector<Path> trashFilesBelow(const MaybePath& folder, const Test& picks) {
    std::vector<Path> tried;
    if (!folder) return tried;
    forEachFileBelow(*folder, [&](const Path& file) {
        if (!picks(file)) return;
        QVFileManager::trashFile(file);
        tried.push_back(file);
    });
    return tried;
}

} // namespace

bool QVFileManager::fileExistsAtPath(const MaybePath& path) {
    return path && platform::services().makeFileManager()->existence(*path).exists;
}

bool QVFileManager::isDirectoryAtPath(const MaybePath& path) {
    return path && platform::services().makeFileManager()->existence(*path).isDirectory;
}

bool QVFileManager::trashFile(const MaybePath& item, ShouldAuth shouldAuth) {
    unlockFile(item);
    if (!fileExistsAtPath(item)) return true;
    if (recycle(*item)) return true;
    if (shouldAuth == ShouldAuth::no) return false;
    return QVAuthorization::sharedController().authTrashFile(item);
}

bool QVFileManager::trashFile(const MaybePath& item, std::chrono::seconds timeout) {
    if (!trashFile(item)) return false;
    return waitUntil([&] { return !fileExistsAtPath(item); }, timeout);
}

bool QVFileManager::trashDirectoryContents(const MaybePath& folder, ShouldAuth shouldAuth) {
    bool allWent = true;
    for (const std::string& name : namesInFolder(folder))
        if (!trashFile(joinPath(folder, name), shouldAuth)) allWent = false;
    return allWent;
}

std::vector<Path> QVFileManager::trashFilesOfType(const MaybeText& extension,
                                                  const MaybePath& folder) {
    if (!extension) return {};
    return trashFilesBelow(folder, [type = lowercase(*extension)](const Path& file) {
        return lowercase(pathExtension(file)) == type;
    });
}

std::vector<Path> QVFileManager::trashFilesNamed(const MaybeText& name, const MaybePath& folder) {
    return trashFilesBelow(folder,
                           [&name](const Path& file) { return lastComponent(file) == name; });
}

} // namespace quorvane
