// Zip archives, by the system's archiving tool.

#include "kit/files/QVFileManager.h"

#include "kit/files/recycling.h"
#include "kit/tasks/QVTaskEx.h"

namespace quorvane {
namespace {

constexpr const char* kArchiveTool = "/usr/bin/ditto";

} // namespace

bool QVFileManager::compressFile(const MaybePath& source, const MaybePath& archive,
                                 IncludeParent includeParent) {
    if (!source || !archive) return false;
    if (fileExistsAtPath(archive)) trashFile(archive);
    Arguments arguments = {"-ck", *source, *archive};
    if (includeParent == IncludeParent::yes)
        arguments.insert(arguments.begin() + 1, "--keepParent");
    QVTaskEx::runTask(kArchiveTool, arguments);
    return fileExistsAtPath(archive); // the tool's exit status does not tell
}

bool QVFileManager::decompressFile(const MaybePath& archive, const MaybePath& destination) {
    if (!archive || !destination) return false;
    if (fileExistsAtPath(destination)) recycle(*destination);
    QVTaskEx::runTask(kArchiveTool, {"-xk", *archive, *destination});
    return fileExistsAtPath(destination);
}

} // namespace quorvane
