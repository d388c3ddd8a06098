#include "app/services/file_manager.h"

#include <algorithm>

#include "kit/files/forwarding_file_manager.h"
#include "kit/log/QVLog.h"

namespace brightkeel {
namespace {

using namespace quorvane::platform;
using quorvane::Path;

class FileManagerWithoutDeletion : public quorvane::ForwardingFileManager {
public:
    FileManagerWithoutDeletion(std::unique_ptr<FileManager> files,
                               std::shared_ptr<FailureReasons> reasons)
        : ForwardingFileManager(std::move(files)), reasons_(std::move(reasons)) {}

    Result<void> removeItem(const Path& path) override {
        if (isFileOfTheLog(path)) return ForwardingFileManager::removeItem(path);
        auto removed = removeEmptyFolders(path);
        if (!removed) reasons_->add(removed.error().text);
        return removed;
    }

private:
    bool isFileOfTheLog(const Path& path) {
        return !existence(path).isDirectory &&
               std::ranges::count(quorvane::QVLog::availableLogs(), path) > 0;
    }

    const std::shared_ptr<FailureReasons> reasons_;
};

} // namespace

std::unique_ptr<FileManager> withoutDeletion(std::unique_ptr<FileManager> files,
                                             std::shared_ptr<FailureReasons> reasons) {
    return std::make_unique<FileManagerWithoutDeletion>(std::move(files), std::move(reasons));
}

} // namespace brightkeel
