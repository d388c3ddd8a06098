#include "platform/linux/file_manager.h"

#include <climits>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/directory.h"
#include "platform/linux/empty_folders.h"
#include "platform/linux/file_attributes.h"
#include "platform/linux/file_copying.h"
#include "platform/linux/file_moving.h"
#include "platform/linux/file_removal.h"
#include "platform/linux/file_writing.h"
#include "platform/linux/posix.h"
#include "platform/linux/streams.h"
#include "platform/linux/tree_walk.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr mode_t kNewFolderMode = 0777;

bool isFolder(const Path& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool allows(const Path& path, int mode) {
    const Result<Path> plain = systemPath(path);
    return plain && faccessat(AT_FDCWD, plain.value().c_str(), mode, AT_EACCESS) == 0;
}

int descriptorOf(StreamHandle handle) { return static_cast<int>(handle); }

class LinuxFileManager : public FileManager {
public:
    Existence existence(const Path& path) override;
    Result<std::vector<std::string>> contentsOfDirectory(const Path& path) override;
    Result<Path> linkDestination(const Path& path) override;
    Result<void> walkTree(const Path& folder, ItemSizes sizes, TreeVisitor& visitor) override {
        return linux_::walkTree(folder, sizes, visitor);
    }
    Result<void> removeItem(const Path& path) override { return removeTree(path); }
    Result<void> checkEmptyFolders(const Path& path) override {
        return linux_::checkEmptyFolders(path);
    }
    Result<void> removeEmptyFolders(const Path& path) override {
        return linux_::removeEmptyFolders(path);
    }
    Result<void> moveItem(const Path& source, const Path& destination) override {
        return moveTree(source, destination);
    }
    Result<void> copyItem(const Path& source, const Path& destination) override {
        return copyTree(source, destination);
    }
    Result<void> createDirectories(const Path& path) override;

    Result<ItemAttributes> attributes(const Path& path) override { return readAttributes(path); }
    Result<void> setAttributes(const Path& path, const AttributeChanges& changes) override {
        return changeAttributes(path, changes);
    }
    bool isWritable(const Path& path) override { return allows(path, W_OK); }
    bool isExecutable(const Path& path) override { return allows(path, X_OK); }

    Result<void> writeAtomically(const Path& path, std::string_view content) override {
        return replaceContent(path, content);
    }
    Result<StreamHandle> openForReading(const Path& path) override { return openReadStream(path); }
    Result<StreamHandle> openTruncated(const Path& path) override { return openEmptyStream(path); }
    Result<StreamHandle> openNew(const Path& path) override { return openNewStream(path); }
    Result<StreamHandle> openExisting(const Path& path) override {
        return openExistingStream(path);
    }
    Result<StreamHandle> openForAppending(const Path& path) override {
        return openAppendStream(path);
    }
    Result<void> seek(StreamHandle handle, std::uint64_t position) override {
        return seekStream(descriptorOf(handle), position);
    }
    Result<std::uint64_t> seekToEnd(StreamHandle handle) override;
    Result<std::size_t> write(StreamHandle handle, std::string_view bytes) override {
        return writeStream(descriptorOf(handle), bytes);
    }
    StreamRead read(StreamHandle handle, std::span<char> buffer) override {
        return readStream(descriptorOf(handle), buffer);
    }
    Result<void> truncate(StreamHandle handle) override {
        return truncateStream(descriptorOf(handle));
    }
    Result<FileIdentity> identity(StreamHandle handle) override {
        return identityOfStream(descriptorOf(handle));
    }
    Result<void> removeEmpty(const Path& path, StreamHandle handle) override {
        return removeEmptyFile(path, descriptorOf(handle));
    }
    bool endsInsideLine(StreamHandle handle) override {
        return linux_::endsInsideLine(descriptorOf(handle));
    }
    void close(StreamHandle handle) override { ::close(descriptorOf(handle)); }
};

Existence LinuxFileManager::existence(const Path& path) {
    const Result<Path> plain = systemPath(path);
    struct stat status {};
    if (!plain || stat(plain.value().c_str(), &status) != 0) return {};
    return {true, S_ISDIR(status.st_mode), {status.st_dev, status.st_ino}};
}

Result<std::vector<std::string>> LinuxFileManager::contentsOfDirectory(const Path& path) {
    const Result<Path> plain = systemPath(path);
    if (!plain) return plain.error();
    const Descriptor folder(retryInterrupted(
        [&] { return open(plain.value().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!folder) return systemError();
    Result<std::vector<DirectoryEntry>> entries = readEntries(folder.get());
    if (!entries) return entries.error();
    std::vector<std::string> names;
    names.reserve(entries.value().size());
    for (DirectoryEntry& entry : entries.value()) names.push_back(std::move(entry.name));
    return names;
}

Result<Path> LinuxFileManager::linkDestination(const Path& path) {
    const Result<Path> plain = systemPath(path);
    if (!plain) return plain.error();
    Path destination(PATH_MAX, '\0'); // no link is longer
    const ssize_t size = readlink(plain.value().c_str(), destination.data(), destination.size());
    if (size < 0) return systemError();
    destination.resize(static_cast<std::size_t>(size));
    return destination;
}

Result<void> LinuxFileManager::createDirectories(const Path& path) {
    const Result<Path> plain = systemPath(path);
    if (!plain) return plain.error();
    for (std::size_t slash = 0; slash != Path::npos;) {
        slash = plain.value().find('/', slash + 1);
        const Path folder = plain.value().substr(0, slash);
        if (isFolder(folder) || mkdir(folder.c_str(), kNewFolderMode) == 0) continue;
        if (errno != EEXIST) return systemError();
        // Another process may have made it just now; anything else there is in the way.
        if (!isFolder(folder)) return systemError(slash == Path::npos ? EEXIST : ENOTDIR);
    }
    return {};
}

Result<std::uint64_t> LinuxFileManager::seekToEnd(StreamHandle handle) {
    const off_t end = lseek(descriptorOf(handle), 0, SEEK_END);
    if (end < 0) return systemError();
    return static_cast<std::uint64_t>(end);
}

} // namespace

std::unique_ptr<FileManager> makeFileManager() { return std::make_unique<LinuxFileManager>(); }

} // namespace quorvane::platform::linux_
