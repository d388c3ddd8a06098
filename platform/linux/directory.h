// Reading open directories.
#pragma once

#include <string>
#include <vector>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// What the listing says of an entry; some file systems never say.
enum class EntryKind { unknown, folder, link, other };

/// Reads an open directory on from where the descriptor stands, in large pieces.
class DirectoryReader {
public:
    /// Reads the next piece; false at the end.
    Result<bool> read(int directory);

    /// Calls `meet(const char* name, EntryKind)` for each entry of the piece but "." and "..", in
    /// the order of the listing, until it answers false. Answers whether it never did.
    template <class Meet>
    bool forEach(const Meet& meet) const {
        for (std::size_t position = 0; position < size_;) {
            const Entry entry = entryAt(position);
            if (!isDots(entry.name) && !meet(entry.name, entry.kind)) return false;
            position += entry.length;
        }
        return true;
    }

private:
    struct Entry {
        const char* name;
        EntryKind kind;
        std::size_t length;
    };

    Entry entryAt(std::size_t position) const;
    static bool isDots(const char* name);

    std::vector<char> buffer_;
    std::size_t size_ = 0;
};

struct DirectoryEntry {
    std::string name;
    /// Whether the listing says that it is a directory.
    bool isDirectory = false;
};

/// The entries of an open directory without "." and "..", in the order of the listing.
Result<std::vector<DirectoryEntry>> readEntries(int directory);

} // namespace quorvane::platform::linux_
