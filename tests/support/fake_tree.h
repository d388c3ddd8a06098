// The items of a fake disk, and how paths lead to them. Not thread-safe: FakeDisk holds the lock.
#pragma once

#include <limits>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/FileManager.h"

namespace quorvane::testing {

struct FakeItem {
    enum class Kind { file, folder, link };

    Kind kind = Kind::file;
    /// A file's bytes; a link's target.
    Bytes content;
    /// A folder's entries, in the order in which they came.
    std::vector<std::pair<std::string, std::shared_ptr<FakeItem>>> entries;
    unsigned long permissions = 0644;
    bool immutable = false;
    bool writable = true;
    /// Writing stops there, as on a full disk.
    std::size_t mostBytes = std::numeric_limits<std::size_t>::max();
    platform::FileTime creationDate;
    platform::FileTime modificationDate;
    std::map<std::string, Bytes> extendedAttributes;

    bool isFolder() const { return kind == Kind::folder; }
    bool isLink() const { return kind == Kind::link; }
    /// The entry of this name; null when there is none.
    std::shared_ptr<FakeItem> entry(const std::string& name) const;
    void removeEntry(const std::string& name);
};

platform::FileIdentity identityOf(const FakeItem& item);

/// Where a path leads: a name in a folder, and the item there, null when it is missing. The root
/// has no folder.
struct FakePlace {
    std::shared_ptr<FakeItem> folder;
    std::string name;
    std::shared_ptr<FakeItem> item;
};

enum class FinalLink : bool { keep, follow };

/// Walks a path as POSIX does: links on the way are followed, 40 of them at most (ELOOP), a missing
/// folder on the way is ENOENT, a file there ENOTDIR, a name above 255 bytes ENAMETOOLONG. Slashes
/// at the end mean nothing.
platform::Result<FakePlace> findPlace(const std::shared_ptr<FakeItem>& root, const Path& path,
                                      FinalLink finalLink);

/// The same, with ENOENT for a missing item.
platform::Result<FakePlace> findItem(const std::shared_ptr<FakeItem>& root, const Path& path,
                                     FinalLink finalLink);

} // namespace quorvane::testing
