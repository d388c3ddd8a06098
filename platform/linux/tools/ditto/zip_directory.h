// The directory of a zip archive: what it holds, by its own account.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/linux/tools/ditto/zip_format.h"

namespace quorvane::platform::linux_::tools::ditto {

/// An item as the directory tells of it.
struct ListedItem {
    /// The archive's bytes, in whatever encoding.
    std::string name;
    /// Where the item's own header begins, in the file, and its data ends.
    std::uint64_t header = 0;
    std::uint64_t dataEnd = 0;
    /// Of the data once it is unpacked.
    std::uint64_t size = 0;
    std::uint32_t checksum = 0;
};

/// Bytes of the file that the library is to see otherwise.
struct Correction {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    std::array<char, 21> bytes{};
};

struct ZipDirectory {
    /// The archive's place in the file, without what stands in front of it and without its comment.
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    /// In the order of their data, which is the library's.
    std::vector<ListedItem> items;
    /// What has the library take everything from the directory, and names as they are: ascending,
    /// none over another. It composes the characters of names that are marked as UTF-8, which gives
    /// items other names, and two items the same one; it takes a backslash for a slash, since it
    /// looks for the archive's system where only the directory has it; and of the sizes and the
    /// checksum beside the data, which are often not known when they are written, it would believe
    /// those that are there.
    std::vector<Correction> corrections;
};

/// Reads the whole directory. Throws Failure unless it is sound: as many items as the end tells of,
/// and each one's header and data in a place of its own, under the same name.
ZipDirectory readDirectory(const ArchiveFile& file);

} // namespace quorvane::platform::linux_::tools::ditto
