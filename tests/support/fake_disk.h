// A disk in memory, on which the fake services of a test work together.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileManager.h"
#include "tests/support/fake_tree.h"

namespace quorvane::testing {

/// Paths work as in POSIX. Builders, setters and lookers throw std::logic_error where a test names
/// an item that is not there. Any thread.
class FakeDisk {
public:
    /// Stands for every path in failNext, failAlways and stopFailing.
    static constexpr const char* kAnyPath = "*";

    // Building. Missing folders above are made; an item already there is replaced.
    void addFolder(const Path& path);
    void addFile(const Path& path, Bytes content = {});
    void addLink(const Path& path, const Path& target);
    /// Takes an item away with all below it, whatever protects it.
    void erase(const Path& path);

    // Setting what an item is, without journal, rights or failures. A final link is not followed.
    void setImmutable(const Path& path, bool immutable);
    void setPermissions(const Path& path, unsigned long permissions);
    /// Whether the process may write the file, or change the entries of the folder.
    void setWritable(const Path& path, bool writable);
    void setCreationDate(const Path& path, platform::FileTime date);
    void setModificationDate(const Path& path, platform::FileTime date);
    /// The disk is full when the file has so many bytes.
    void setMostBytes(const Path& path, std::size_t bytes);
    /// The time that new and written items get; at first the start of 1970.
    void setNow(platform::FileTime now);

    // Looking, without journal or failures. A final link is not followed.
    bool contains(const Path& path) const;
    bool isFolder(const Path& path) const;
    bool isLink(const Path& path) const;
    bool isImmutable(const Path& path) const;
    /// Whether the folder that holds an item, or would hold it, is this one or lies below it, by
    /// whatever paths.
    bool isBelow(const Path& path, const Path& folder) const;
    /// A file's bytes, or a link's target.
    Bytes content(const Path& path) const;
    /// Every item below the root, sorted: what a test compares to say that nothing else changed.
    std::vector<Path> paths() const;
    /// How many streams are open.
    std::size_t openStreams() const;

    // Scripting failures. Operations are named as the functions below.
    /// The next use fails, once; several queue up.
    void failNext(const std::string& operation, const Path& path, platform::Error error);
    /// Every use fails.
    void failAlways(const std::string& operation, const Path& path, platform::Error error);
    void stopFailing(const std::string& operation, const Path& path);
    /// Called after each read, on the reading thread, with the path that was opened and what was
    /// read, which it may change: fewer bytes are the end of the stream.
    using ReadAction = std::function<void(const Path& path, Bytes& bytes)>;
    void onRead(ReadAction action);
    /// The number of the first stream that is opened; at first 3.
    void setFirstHandle(std::int64_t number);
    /// Takes the failure that is scripted for an operation that stands outside; null without one.
    std::optional<platform::Error> scriptedFailure(const std::string& operation, const Path& path);

    // What platform::FileManager offers.
    platform::Existence existence(const Path& path) const;
    platform::Result<std::vector<std::string>> contentsOfDirectory(const Path& path);
    platform::Result<Path> linkDestination(const Path& path);
    /// A scripted failure of an item below the path stops the removal there.
    platform::Result<void> removeItem(const Path& path);
    /// A folder whose "contentsOfDirectory" is scripted to fail cannot be looked at; one whose
    /// "removeEmptyFolders" is cannot be removed.
    platform::Result<void> checkEmptyFolders(const Path& path);
    platform::Result<void> removeEmptyFolders(const Path& path);
    platform::Result<void> moveItem(const Path& source, const Path& destination);
    platform::Result<void> copyItem(const Path& source, const Path& destination);
    platform::Result<void> createDirectories(const Path& path);
    platform::Result<platform::ItemAttributes> attributes(const Path& path);
    platform::Result<void> setAttributes(const Path& path,
                                         const platform::AttributeChanges& changes);
    bool isWritable(const Path& path) const;
    bool isExecutable(const Path& path) const;
    platform::Result<void> writeAtomically(const Path& path, std::string_view content);
    platform::Result<platform::StreamHandle> openForReading(const Path& path);
    platform::Result<platform::StreamHandle> openTruncated(const Path& path);
    platform::Result<platform::StreamHandle> openNew(const Path& path);
    platform::Result<platform::StreamHandle> openExisting(const Path& path);
    platform::Result<platform::StreamHandle> openForAppending(const Path& path);
    /// Failures of streams are scripted for the path that was opened.
    platform::Result<void> seek(platform::StreamHandle handle, std::uint64_t position);
    platform::Result<std::uint64_t> seekToEnd(platform::StreamHandle handle);
    platform::Result<std::size_t> write(platform::StreamHandle handle, std::string_view bytes);
    platform::StreamRead read(platform::StreamHandle handle, std::span<char> buffer);
    platform::Result<void> truncate(platform::StreamHandle handle);
    platform::Result<platform::FileIdentity> identity(platform::StreamHandle handle);
    platform::Result<void> removeEmpty(const Path& path, platform::StreamHandle handle);
    bool endsInsideLine(platform::StreamHandle handle) const;
    void close(platform::StreamHandle handle);
    /// The path that an open stream was opened with; empty for an unknown one.
    Path pathOf(platform::StreamHandle handle) const;

    // What platform::ExtendedAttributes offers.
    platform::Result<std::size_t> sizeOfExtendedAttribute(const Path& path,
                                                          const std::string& name);
    platform::Result<std::size_t> getExtendedAttribute(const Path& path, const std::string& name,
                                                       std::span<char> buffer);
    platform::Result<void> setExtendedAttribute(const Path& path, const std::string& name,
                                                std::string_view value);

    /// Moves an item into a folder, which is made if missing, under a free name: "NAME", "NAME 2",
    /// "NAME 3" and so on.
    platform::Result<void> recycle(const Path& item, const Path& folder);

private:
    struct Failure {
        std::string operation;
        Path path;
        platform::Error error;
        bool always;
    };
    struct Stream {
        Path path;
        std::shared_ptr<FakeItem> item;
        std::uint64_t position = 0;
        bool appends = false;
    };
    using Place = platform::Result<FakePlace>;

    FakePlace placeFor(const Path& path);
    FakeItem& item(const Path& path) const;
    std::shared_ptr<FakeItem> makeItem(FakeItem::Kind kind, Bytes content) const;
    void add(const Path& path, FakeItem::Kind kind, Bytes content);

    platform::Result<std::shared_ptr<FakeItem>> makeFile(const FakePlace& place) const;
    platform::StreamHandle addStream(const Path& path, const std::shared_ptr<FakeItem>& item);
    std::optional<platform::Error> failure(const std::string& operation, const Path& path);
    platform::Result<void> removeTree(const FakePlace& place, const Path& path);
    platform::Result<void> checkEmpty(const FakeItem& folder, const Path& path);
    platform::Result<void> move(const Path& source, const Path& destination);
    platform::Result<void> makeFolders(const Path& path);
    platform::Result<Bytes> extendedAttribute(const std::string& operation, const Path& path,
                                              const std::string& name);

    mutable std::mutex mutex_;
    std::shared_ptr<FakeItem> root_ = makeItem(FakeItem::Kind::folder, {});
    platform::FileTime now_;
    std::vector<Failure> failures_;
    ReadAction readAction_;
    std::int64_t firstHandle_ = 3;
    std::map<platform::StreamHandle, Stream> streams_;
};

} // namespace quorvane::testing
