#include "app/services/file_manager.h"

#include <algorithm>

#include "kit/log/QVLog.h"

namespace brightkeel {
namespace {

using namespace quorvane::platform;
using quorvane::Path;

class FileManagerWithoutDeletion : public FileManager {
public:
    FileManagerWithoutDeletion(std::unique_ptr<FileManager> files,
                               std::shared_ptr<FailureReasons> reasons)
        : files_(std::move(files)), reasons_(std::move(reasons)) {}

    Result<void> removeItem(const Path& path) override {
        if (isFileOfTheLog(path)) return files_->removeItem(path);
        auto removed = files_->removeEmptyFolders(path);
        if (!removed) reasons_->add(removed.error().text);
        return removed;
    }

    Existence existence(const Path& path) override { return files_->existence(path); }
    Result<std::vector<std::string>> contentsOfDirectory(const Path& path) override {
        return files_->contentsOfDirectory(path);
    }
    Result<Path> linkDestination(const Path& path) override {
        return files_->linkDestination(path);
    }
    Result<void> walkTree(const Path& folder, ItemSizes sizes, TreeVisitor& visitor) override {
        return files_->walkTree(folder, sizes, visitor);
    }
    Result<void> checkEmptyFolders(const Path& path) override {
        return files_->checkEmptyFolders(path);
    }
    Result<void> removeEmptyFolders(const Path& path) override {
        return files_->removeEmptyFolders(path);
    }
    Result<void> copyItem(const Path& source, const Path& destination) override {
        return files_->copyItem(source, destination);
    }
    Result<void> moveItem(const Path& source, const Path& destination) override {
        return files_->moveItem(source, destination);
    }
    Result<void> createDirectories(const Path& path) override {
        return files_->createDirectories(path);
    }
    Result<ItemAttributes> attributes(const Path& path) override {
        return files_->attributes(path);
    }
    Result<void> setAttributes(const Path& path, const AttributeChanges& changes) override {
        return files_->setAttributes(path, changes);
    }
    bool isWritable(const Path& path) override { return files_->isWritable(path); }
    bool isExecutable(const Path& path) override { return files_->isExecutable(path); }
    Result<void> writeAtomically(const Path& path, std::string_view content) override {
        return files_->writeAtomically(path, content);
    }
    Result<StreamHandle> openForReading(const Path& path) override {
        return files_->openForReading(path);
    }
    Result<StreamHandle> openTruncated(const Path& path) override {
        return files_->openTruncated(path);
    }
    Result<StreamHandle> openForWriting(const Path& path) override {
        return files_->openForWriting(path);
    }
    Result<void> seek(StreamHandle handle, std::uint64_t position) override {
        return files_->seek(handle, position);
    }
    Result<std::uint64_t> seekToEnd(StreamHandle handle) override {
        return files_->seekToEnd(handle);
    }
    Result<std::size_t> write(StreamHandle handle, std::string_view bytes) override {
        return files_->write(handle, bytes);
    }
    StreamRead read(StreamHandle handle, std::span<char> buffer) override {
        return files_->read(handle, buffer);
    }
    void close(StreamHandle handle) override { files_->close(handle); }

private:
    bool isFileOfTheLog(const Path& path) {
        return !files_->existence(path).isDirectory &&
               std::ranges::count(quorvane::QVLog::availableLogs(), path) > 0;
    }

    const std::unique_ptr<FileManager> files_;
    const std::shared_ptr<FailureReasons> reasons_;
};

} // namespace

std::unique_ptr<FileManager> withoutDeletion(std::unique_ptr<FileManager> files,
                                             std::shared_ptr<FailureReasons> reasons) {
    return std::make_unique<FileManagerWithoutDeletion>(std::move(files), std::move(reasons));
}

} // namespace brightkeel
