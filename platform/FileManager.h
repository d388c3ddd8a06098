// Files and folders. One instance serves one operation of the kit: makers hand out fresh ones.
#pragma once

#include <chrono>
#include <compare>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Values.h"

namespace quorvane::platform {

/// Wall-clock time with the file system's resolution.
using FileTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::nanoseconds>;

/// What tells two items apart, whatever paths lead to them.
struct FileIdentity {
    std::uint64_t volume = 0;
    std::uint64_t node = 0;
    // NOLINTNEXTLINE(modernize-use-nullptr): the linter takes a compared zero for a pointer
    auto operator<=>(const FileIdentity&) const = default;
};

/// What a path leads to; the identity of an absent item means nothing.
struct Existence {
    bool exists = false;
    bool isDirectory = false;
    FileIdentity identity;
};

/// Attributes of an item itself (a final link is not followed). Absent where the file system has
/// none.
struct ItemAttributes {
    std::optional<bool> immutable;
    std::optional<unsigned long> posixPermissions;
    std::optional<FileTime> creationDate;
    std::optional<FileTime> modificationDate;
    std::uint64_t size = 0;
};

/// Attributes to change; an absent one stays as it is.
struct AttributeChanges {
    std::optional<bool> immutable = std::nullopt;
    std::optional<unsigned long> posixPermissions = std::nullopt;
    std::optional<FileTime> creationDate = std::nullopt;
    std::optional<FileTime> modificationDate = std::nullopt;
};

/// Whether a name is that of a file which desktops put into folders by themselves, so that a folder
/// with nothing else in it counts as empty.
inline bool isDesktopMetadata(std::string_view name) {
    return name == ".DS_Store" || name == "Icon\r";
}

/// Told of everything that a walk through a folder comes upon.
class TreeVisitor {
public:
    enum class Answer { goOn, skip, stop };

    virtual ~TreeVisitor() = default;
    /// A folder, or a link that leads to one; the name of the walk's first folder is empty. Going
    /// on, all below it is visited, and then it is left.
    virtual Answer enterFolder(std::string_view name, const FileIdentity& folder) = 0;
    virtual void leaveFolder() = 0;
    /// Anything else, with its own size, a link's not followed: 0 where sizes are not asked for or
    /// cannot be read.
    virtual Answer meetItem(std::string_view name, std::uint64_t size) = 0;
};

/// Whether a walk tells sizes, which takes its time.
enum class ItemSizes : bool { unknown, told };

/// An open stream: an integer handle whose value is the descriptor where the system has
/// descriptors.
enum class StreamHandle : std::int64_t {};

/// What a read brought: as many bytes as asked for, unless the stream is at its end or an error
/// came in between. A further read tries again.
struct StreamRead {
    std::size_t count = 0;
    bool atEnd = false;
    std::optional<Error> error = std::nullopt;
};

/// One instance per operation; an instance is used by one thread.
class FileManager {
public:
    virtual ~FileManager() = default;

    /// Follows symbolic links: a link whose target is missing or loops does not exist.
    virtual Existence existence(const Path& path) = 0;
    /// The entries' names without "." and "..", hidden ones included, in the order of the listing.
    virtual Result<std::vector<std::string>> contentsOfDirectory(const Path& path) = 0;
    /// Where a symbolic link leads, as it is written in the link; an error for what is none.
    virtual Result<Path> linkDestination(const Path& path) = 0;
    /// Visits everything below a folder, in no particular order, links to folders included: a
    /// visitor that goes on where it has been before may be sent round until more than 40 links
    /// lie on the way, after which links lead nowhere. Folders that cannot be listed are visited as
    /// empty ones. Neither the depth nor the width of the tree is limited. An error when the walk
    /// could not be finished: the system is out of means, or the tree was changed too much.
    virtual Result<void> walkTree(const Path& folder, ItemSizes sizes, TreeVisitor& visitor) = 0;
    /// Deletes an item, a folder with all below it; never follows a symbolic link, the final one
    /// included. Stops at the first item that cannot be deleted. EBUSY, with nothing deleted, where
    /// anything is mounted on the item or below it.
    virtual Result<void> removeItem(const Path& path) = 0;
    /// Looks whether an item is a folder that holds nothing but desktop metadata, as regular files,
    /// and folders of the same kind. Fails with ENOTDIR for anything but a folder, such as a link
    /// to one, with ENOTEMPTY where anything else is found, with EBUSY where something is mounted,
    /// and with the reason where any part cannot be looked at to its end.
    virtual Result<void> checkEmptyFolders(const Path& path) = 0;
    /// Removes such a folder with all below it, from the bottom up. Looks at everything first, and
    /// removes nothing where that fails or where, as far as can be known, a part could not be
    /// removed. Whatever else comes to lie there meanwhile keeps the folders that hold it, and
    /// fails with ENOTEMPTY.
    virtual Result<void> removeEmptyFolders(const Path& path) = 0;
    /// Copies an item, a folder with all below it, with permissions, times, extended attributes and
    /// holes, and with its owner where the process may keep that. Links are copied as links; what
    /// is neither file, folder nor link is made anew, never opened. Fails with EEXIST where the
    /// destination exists. After a failure nothing stands there.
    virtual Result<void> copyItem(const Path& source, const Path& destination) = 0;
    /// Moves an item; onto another volume by copying it and then deleting the source, which fails
    /// beforehand where that cannot be deleted, as far as can be known, and with ESTALE where it
    /// changed meanwhile: what is new stays, beside the whole copy. Fails with EEXIST where the
    /// destination exists; an item moved to its own path is there already. EBUSY where a mount
    /// would be taken along.
    virtual Result<void> moveItem(const Path& source, const Path& destination) = 0;
    /// Makes a folder and the missing ones above it; an existing folder is success.
    virtual Result<void> createDirectories(const Path& path) = 0;

    virtual Result<ItemAttributes> attributes(const Path& path) = 0;
    /// Changes attributes in the order of their declaration and stops at the first failure. Setting
    /// an attribute to what it is needs no rights. Never follows a final symbolic link, never opens
    /// a device or FIFO.
    virtual Result<void> setAttributes(const Path& path, const AttributeChanges& changes) = 0;
    /// Whether the process may write, or execute, what is at the path; false when nothing is.
    virtual bool isWritable(const Path& path) = 0;
    virtual bool isExecutable(const Path& path) = 0;

    /// Replaces the file's content in one step: readers see the old file or the new one, whole.
    virtual Result<void> writeAtomically(const Path& path, std::string_view content) = 0;
    // Streams are unbuffered, stay open until they are closed, whatever becomes of the instance,
    // and never wait for another process: a FIFO is refused with ENXIO.

    /// Opens what is there for reading at its start ("rb"). A folder opens, and then cannot be
    /// read.
    virtual Result<StreamHandle> openForReading(const Path& path) = 0;
    /// Opens a file for writing and reading, empty ("w+"): one that is missing is made, one that is
    /// there loses its content.
    virtual Result<StreamHandle> openTruncated(const Path& path) = 0;
    /// Makes a file and opens it for writing and reading. Fails with EEXIST where anything stands
    /// there, a link that leads nowhere included.
    virtual Result<StreamHandle> openNew(const Path& path) = 0;
    /// Opens a regular file that is there for writing and reading at its start, with its content.
    /// Opens nothing else: fails with ELOOP for a final link, which is not followed, with EISDIR
    /// for a folder, and with ENXIO for a FIFO, socket or device.
    virtual Result<StreamHandle> openExisting(const Path& path) = 0;
    /// Opens an existing file, in which every write goes to the end, whoever else writes there;
    /// creates nothing.
    virtual Result<StreamHandle> openForAppending(const Path& path) = 0;
    /// Moves to a position in bytes, which may lie behind the end.
    virtual Result<void> seek(StreamHandle handle, std::uint64_t position) = 0;
    /// Moves to the end and answers the position in bytes.
    virtual Result<std::uint64_t> seekToEnd(StreamHandle handle) = 0;
    /// Writes up to all bytes and answers how many were written before a failure; an error only
    /// when none were.
    virtual Result<std::size_t> write(StreamHandle handle, std::string_view bytes) = 0;
    /// Fills the buffer from the position on, as far as there is something to read.
    virtual StreamRead read(StreamHandle handle, std::span<char> buffer) = 0;
    /// Takes away the content of the file that a stream is open on, and moves to the start.
    virtual Result<void> truncate(StreamHandle handle) = 0;
    /// What the stream is open on, whatever has become of its path.
    virtual Result<FileIdentity> identity(StreamHandle handle) = 0;
    /// Removes the file that a stream is open on, if it is still what stands at the path, and
    /// empty. Fails with ESTALE for anything else.
    virtual Result<void> removeEmpty(const Path& path, StreamHandle handle) = 0;
    /// Whether the file that a stream for appending is open on ends without a line break; false
    /// too where it may not be read. What another process is about to write is waited for.
    virtual bool endsInsideLine(StreamHandle handle) = 0;
    /// Closes the descriptor that the handle is.
    virtual void close(StreamHandle handle) = 0;
};

} // namespace quorvane::platform
