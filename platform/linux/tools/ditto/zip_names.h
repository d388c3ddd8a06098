// The names in a zip archive, kept from being converted.
#pragma once

#include <cstdint>
#include <vector>

namespace quorvane::platform::linux_::tools::ditto {

/// A byte of an archive that the library is to see otherwise.
struct Correction {
    std::uint64_t offset = 0;
    unsigned char byte = 0;
};

/// What makes the library take names as they are, ascending. It composes the characters of names
/// that are marked as UTF-8, which gives items other names, and two items the same one; and it
/// takes a backslash for a slash, since it looks for the archive's system where only its directory
/// has it. Of a file that is no sound archive, whatever can be found. Any thread.
std::vector<Correction> nameCorrections(int file, std::uint64_t size);

} // namespace quorvane::platform::linux_::tools::ditto
