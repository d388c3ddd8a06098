// File operations with administrator rights, each a standard tool.

#include "kit/auth/QVAuthorization.h"

#include <array>
#include <chrono>
#include <ctime>
#include <thread>

#include "kit/auth/console.h"
#include "kit/base/components.h"
#include "kit/paths/QVLocalPaths.h"
#include "kit/tasks/QVTaskEx.h"
#include "platform/FileManager.h"
#include "platform/Services.h"

namespace quorvane {
namespace {

constexpr const char* kRemoveTool = "/bin/rm";
constexpr const char* kMoveTool = "/bin/mv";
constexpr const char* kCopyTool = "/bin/cp";
constexpr const char* kCreateTool = "/bin/mkdir";

bool exists(const MaybePath& path) {
    return path && platform::services().makeFileManager()->existence(*path).exists;
}

/// The entries' names; none for a folder that cannot be listed.
std::vector<std::string> entries(const Path& folder) {
    auto listing = platform::services().makeFileManager()->contentsOfDirectory(folder);
    return listing ? std::move(listing.value()) : std::vector<std::string>();
}

/// Whether the path is off limits; says so with the message then.
bool refuse(const MaybePath& path, std::string_view message) {
    if (!QVLocalPaths::isPathSystemDirectory(path, ExactMatch::yes)) return false;
    logToConsole(message, path);
    return true;
}

/// The local date and time as 14 digits.
std::string localTimeStamp() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 32> digits{};
    return {digits.data(), std::strftime(digits.data(), digits.size(), "%Y%m%d%H%M%S", &local)};
}

} // namespace

bool QVAuthorization::authRemoveFile(const MaybePath& item) {
    if (refuse(item, "Unable to delete path %@ because it is a system directory.")) return false;
    return item && authExecTask(kRemoveTool, {"-Rdf", *item}) == platform::kAuthorizationSuccess;
}

bool QVAuthorization::authTrashFile(const MaybePath& item,
                                    DeleteOnRootAccount deleteOnRootAccount) {
    if (refuse(item, "Unable to trash path %@ because it is a system directory.")) return false;
    if (!item) return authMoveFile(item, std::nullopt);
    const MaybePath destination = trashDestination(*item);
    // The destination goes, not the item: tools that clean up a superuser's installation rely on
    // it.
    if (deleteOnRootAccount == DeleteOnRootAccount::yes && !userDirectory_ && runsAsSuperuser())
        return authRemoveFile(destination);
    return authMoveFile(item, destination);
}

/// Where the item goes in the Trash. A taken name is stamped once. Should the stamped name be taken
/// too, the platform names another: the Trash replaces nothing, though it is asked to.
MaybePath QVAuthorization::trashDestination(const Path& item) const {
    const std::string_view name = lastComponent(item);
    MaybePath destination = joinPath(QVLocalPaths::trashDirectory(), name);
    if (runsAsSuperuser() && userDirectory_)
        destination = formatText("%@/.Trash/%@", {*userDirectory_, name});
    if (!exists(destination)) return destination;
    // An item without extension gets a name that ends in a bare ".": the form is relied on.
    return formatText("%@_%@.%@",
                      {withoutExtension(*destination), localTimeStamp(), pathExtension(item)});
}

bool QVAuthorization::authTrashFolderContents(const MaybePath& folder,
                                              DeleteOnRootAccount deleteOnRootAccount) {
    if (refuse(folder,
               "Unable to trash folder contents of path %@ because it is a system directory."))
        return false;
    if (!folder) return false;
    const bool deletes =
        !userDirectory_ && runsAsSuperuser() && deleteOnRootAccount == DeleteOnRootAccount::yes;
    bool succeeded = true;
    for (const std::string& name : entries(*folder)) {
        const Path item = joinPath(*folder, name);
        const bool done = deletes ? authExecTask(kRemoveTool, {"-R", "-f", item}) ==
                                        platform::kAuthorizationSuccess
                                  : authTrashFile(item);
        succeeded = succeeded && done;
    }
    return succeeded;
}

bool QVAuthorization::authMoveFolderContents(const MaybePath& source,
                                             const MaybePath& destination) {
    if (refuse(source, "Unable to move contents of path %@ because it is a system directory."))
        return false;
    if (!source) return false;
    bool succeeded = true;
    for (const std::string& name : entries(*source))
        if (!authMoveFile(joinPath(*source, name), joinPath(destination, name))) succeeded = false;
    return succeeded;
}

bool QVAuthorization::authMoveFile(const MaybePath& source, const MaybePath& destination) {
    if (!source)
        logToConsole("Error in authMoveFile: old path is null");
    else if (!destination)
        logToConsole("Error in authMoveFile: new path is null");
    if (!source || !destination) return false;
    if (refuse(source, "Unable to move path %@ because it is a system directory.")) return false;
    return exists(source) && startTool(kMoveTool, {"-f", *source, *destination});
}

bool QVAuthorization::authCopyFile(const MaybePath& source, const MaybePath& destination) {
    if (!source)
        logToConsole("Error in authCopyFile: old path is null");
    else if (!destination)
        logToConsole("Error in authCopyFile: new path is null");
    if (!source || !destination) return false;
    return exists(source) && startTool(kCopyTool, {"-f", "-p", "-R", *source, *destination});
}

bool QVAuthorization::authCreateDir(const MaybePath& folder) {
    if (!folder) return false;
    if (runsAsSuperuser()) return startTool(kCreateTool, {"-p", *folder});
    if (authExecTask(kCreateTool, {"-p", *folder}) != platform::kAuthorizationSuccess) return false;
    std::this_thread::sleep_for(std::chrono::microseconds(500)); // the tool needs about that long
    return true;
}

/// Starts the tool; for the superuser through the process runner, whose launch is not examined.
bool QVAuthorization::startTool(const Path& tool, const Arguments& parameters) {
    if (!runsAsSuperuser())
        return authExecTask(tool, parameters) == platform::kAuthorizationSuccess;
    QVTaskEx::runTaskAndReturn(tool, parameters);
    return true;
}

} // namespace quorvane
