// A file manager that differs a little from another.
#pragma once

#include <memory>
#include <utility>

#include "platform/FileManager.h"

namespace quorvane {

/// Does what the next one does; a class derived from it does some of it in its own way.
class ForwardingFileManager : public platform::FileManager {
public:
    using Handle = platform::StreamHandle;
    template <class T>
    using Result = platform::Result<T>;

    explicit ForwardingFileManager(std::unique_ptr<platform::FileManager> next)
        : next_(std::move(next)) {}

    platform::Existence existence(const Path& path) override { return next_->existence(path); }
    Result<std::vector<std::string>> contentsOfDirectory(const Path& path) override {
        return next_->contentsOfDirectory(path);
    }
    Result<Path> linkDestination(const Path& path) override { return next_->linkDestination(path); }
    Result<void> walkTree(const Path& folder, platform::ItemSizes sizes,
                          platform::TreeVisitor& visitor) override {
        return next_->walkTree(folder, sizes, visitor);
    }
    Result<void> removeItem(const Path& path) override { return next_->removeItem(path); }
    Result<void> checkEmptyFolders(const Path& path) override {
        return next_->checkEmptyFolders(path);
    }
    Result<void> removeEmptyFolders(const Path& path) override {
        return next_->removeEmptyFolders(path);
    }
    Result<void> copyItem(const Path& source, const Path& destination) override {
        return next_->copyItem(source, destination);
    }
    Result<void> moveItem(const Path& source, const Path& destination) override {
        return next_->moveItem(source, destination);
    }
    Result<void> createDirectories(const Path& path) override {
        return next_->createDirectories(path);
    }
    Result<platform::ItemAttributes> attributes(const Path& path) override {
        return next_->attributes(path);
    }
    Result<void> setAttributes(const Path& path,
                               const platform::AttributeChanges& changes) override {
        return next_->setAttributes(path, changes);
    }
    bool isWritable(const Path& path) override { return next_->isWritable(path); }
    bool isExecutable(const Path& path) override { return next_->isExecutable(path); }
    Result<void> writeAtomically(const Path& path, std::string_view content) override {
        return next_->writeAtomically(path, content);
    }
    Result<Handle> openForReading(const Path& path) override { return next_->openForReading(path); }
    Result<Handle> openTruncated(const Path& path) override { return next_->openTruncated(path); }
    Result<Handle> openNew(const Path& path) override { return next_->openNew(path); }
    Result<Handle> openExisting(const Path& path) override { return next_->openExisting(path); }
    Result<Handle> openForAppending(const Path& path) override {
        return next_->openForAppending(path);
    }
    Result<void> seek(Handle handle, std::uint64_t position) override {
        return next_->seek(handle, position);
    }
    Result<std::uint64_t> seekToEnd(Handle handle) override { return next_->seekToEnd(handle); }
    Result<std::size_t> write(Handle handle, std::string_view bytes) override {
        return next_->write(handle, bytes);
    }
    platform::StreamRead read(Handle handle, std::span<char> buffer) override {
        return next_->read(handle, buffer);
    }
    Result<void> truncate(Handle handle) override { return next_->truncate(handle); }
    Result<platform::FileIdentity> identity(Handle handle) override {
        return next_->identity(handle);
    }
    Result<void> removeEmpty(const Path& path, Handle handle) override {
        return next_->removeEmpty(path, handle);
    }
    bool endsInsideLine(Handle handle) override { return next_->endsInsideLine(handle); }
    void close(Handle handle) override { next_->close(handle); }

private:
    std::unique_ptr<platform::FileManager> next_;
};

} // namespace quorvane
