// The end of a zip archive, where readers begin.
#pragma once

#include <cstdint>

#include "platform/linux/tools/ditto/zip_format.h"

namespace quorvane::platform::linux_::tools::ditto {

/// What the end of an archive tells; places count from the beginning of the file.
struct ZipEnd {
    /// Where the archive begins: anything may stand in front of it, such as a program that unpacks
    /// it, whether the archive's own places count that or not.
    std::uint64_t begin = 0;
    std::uint64_t directory = 0;
    std::uint64_t directoryEnd = 0;
    /// The record that ends the archive, behind which is only its comment.
    std::uint64_t record = 0;
    std::uint64_t items = 0;
    /// Whether the number of items has overflowed where they are more than 65,535: not every
    /// archiver writes it in 64 bits then.
    bool countsIn64Bits = false;

    bool tellsOf(std::uint64_t count) const;
};

/// Finds the one record that ends with the file, but for zeros, and has its directory before it.
/// Throws Failure for a file in which it is missing, damaged, or not the only one.
ZipEnd findEnd(const ArchiveFile& file);

} // namespace quorvane::platform::linux_::tools::ditto
