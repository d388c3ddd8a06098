// The records of a zip archive, after PKWARE's "APPNOTE.TXT".
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "platform/Values.h"

namespace quorvane::platform::linux_::tools::ditto {

inline constexpr std::string_view kLocalHeader = "PK\3\4";
inline constexpr std::string_view kDirectoryHeader = "PK\1\2";
inline constexpr std::string_view kDirectoryEnd = "PK\5\6";
inline constexpr std::string_view kDirectoryEnd64 = "PK\6\6";
inline constexpr std::string_view kLocator64 = "PK\6\7";

inline constexpr std::size_t kLocalHeaderSize = 30;
inline constexpr std::size_t kDirectoryHeaderSize = 46;
inline constexpr std::size_t kDirectoryEndSize = 22;
inline constexpr std::size_t kDirectoryEnd64Size = 56;
inline constexpr std::size_t kLocator64Size = 20;
inline constexpr std::size_t kLongestComment = 65535;

/// Numbers that say that the true one is in a field of 64 bits.
inline constexpr std::uint64_t kElsewhere16 = 0xFFFF;
inline constexpr std::uint64_t kElsewhere32 = 0xFFFFFFFF;

/// A little-endian number; 0 beyond the end.
std::uint64_t number(std::string_view bytes, std::size_t offset, std::size_t size);

/// A file that is read in pieces, at any place.
class ArchiveFile {
public:
    /// The descriptor stays the caller's; the path is for messages.
    ArchiveFile(Path path, int descriptor, std::uint64_t size)
        : path_(std::move(path)), descriptor_(descriptor), size_(size) {}

    const Path& path() const { return path_; }
    std::uint64_t size() const { return size_; }
    /// What is there of a piece; less at the end, and nothing beyond it. Throws Failure where the
    /// file cannot be read.
    std::string read(std::uint64_t offset, std::size_t size) const;

private:
    Path path_;
    int descriptor_;
    std::uint64_t size_;
};

} // namespace quorvane::platform::linux_::tools::ditto
