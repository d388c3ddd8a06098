#include "platform/linux/tools/ditto/zip_names.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include <unistd.h>

namespace quorvane::platform::linux_::tools::ditto {
namespace {

// The format's records, after PKWARE's "APPNOTE.TXT".
constexpr std::string_view kLocalHeader = "PK\3\4";
constexpr std::string_view kDirectoryHeader = "PK\1\2";
constexpr std::string_view kDirectoryEnd = "PK\5\6";
constexpr std::string_view kDirectoryEnd64 = "PK\6\6";
constexpr std::string_view kLocator64 = "PK\6\7";
constexpr std::size_t kLocalHeaderSize = 30;
constexpr std::size_t kDirectoryHeaderSize = 46;
constexpr std::size_t kDirectoryEndSize = 22;
constexpr std::size_t kDirectoryEnd64Size = 56;
constexpr std::size_t kLocator64Size = 20;
constexpr std::size_t kLongestComment = 65535;
constexpr std::uint64_t kElsewhere = 0xFFFFFFFF; ///< the number is in a 64-bit field
constexpr std::size_t kField64 = 1;
// The second byte of the general flags, which has the mark of UTF-8.
constexpr std::size_t kLocalFlags = 7;
constexpr std::size_t kDirectoryFlags = 9;
constexpr unsigned kUtf8Mark = 1U << 3U;
// The second byte of the versions: of the one that made an entry, the system.
constexpr std::size_t kLocalVersion = 5;
constexpr std::size_t kDirectoryVersion = 5;

unsigned char byteAt(std::string_view bytes, std::size_t offset) {
    return static_cast<unsigned char>(bytes[offset]);
}

/// A little-endian number; 0 beyond the end.
std::uint64_t number(std::string_view bytes, std::size_t offset, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t index = size; index-- > 0;) {
        const std::size_t place = offset + index;
        const char byte = place < bytes.size() ? bytes[place] : '\0';
        value = value << 8U | static_cast<unsigned char>(byte);
    }
    return value;
}

class Names {
public:
    Names(int file, std::uint64_t size) : file_(file), size_(size) {}

    std::vector<Correction> corrections() {
        std::optional<std::uint64_t> header = directory();
        while (header) header = takeHeader(*header);
        std::sort(corrections_.begin(), corrections_.end(),
                  [](const Correction& one, const Correction& other) {
                      return one.offset < other.offset;
                  });
        return std::move(corrections_);
    }

private:
    std::string read(std::uint64_t offset, std::size_t size) const {
        if (offset >= size_) return {};
        std::string bytes(std::min<std::uint64_t>(size, size_ - offset), '\0');
        const ssize_t length =
            ::pread(file_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        bytes.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
        return bytes;
    }

    /// Where the archive's directory begins.
    std::optional<std::uint64_t> directory() const {
        const std::uint64_t tailSize =
            std::min<std::uint64_t>(size_, kDirectoryEndSize + kLongestComment);
        const std::string tail = read(size_ - tailSize, tailSize);
        const std::size_t end = tail.rfind(kDirectoryEnd);
        if (end == std::string::npos) return std::nullopt;
        const std::uint64_t start = number(tail, end + 16, 4);
        if (start != kElsewhere) return start;
        const std::uint64_t endOffset = size_ - tailSize + end;
        if (endOffset < kLocator64Size) return std::nullopt;
        const std::string locator = read(endOffset - kLocator64Size, kLocator64Size);
        if (!locator.starts_with(kLocator64)) return std::nullopt;
        const std::string end64 = read(number(locator, 8, 8), kDirectoryEnd64Size);
        if (!end64.starts_with(kDirectoryEnd64)) return std::nullopt;
        return number(end64, 48, 8);
    }

    /// Takes one entry, in the directory and before its data, and answers where the next header of
    /// the directory begins.
    std::optional<std::uint64_t> takeHeader(std::uint64_t offset) {
        const std::string header = read(offset, kDirectoryHeaderSize);
        if (header.size() < kDirectoryHeaderSize || !header.starts_with(kDirectoryHeader))
            return std::nullopt;
        const std::size_t nameSize = number(header, 28, 2);
        const std::size_t extraSize = number(header, 30, 2);
        const std::size_t commentSize = number(header, 32, 2);
        clearMark(header, offset, kDirectoryFlags);
        std::uint64_t local = number(header, 42, 4);
        if (local == kElsewhere)
            local = offset64(header, read(offset + kDirectoryHeaderSize + nameSize, extraSize));
        const std::string localHeader = read(local, kLocalHeaderSize);
        if (localHeader.size() == kLocalHeaderSize && localHeader.starts_with(kLocalHeader)) {
            clearMark(localHeader, local, kLocalFlags);
            corrections_.push_back({local + kLocalVersion, byteAt(header, kDirectoryVersion)});
        }
        return offset + kDirectoryHeaderSize + nameSize + extraSize + commentSize;
    }

    /// The offset of an entry beyond 4 GiB: after the sizes that do not fit either.
    static std::uint64_t offset64(std::string_view header, std::string_view extra) {
        std::size_t place = 4;
        if (number(header, 24, 4) == kElsewhere) place += 8;
        if (number(header, 20, 4) == kElsewhere) place += 8;
        while (extra.size() > place && number(extra, 0, 2) != kField64)
            extra.remove_prefix(std::min<std::size_t>(4 + number(extra, 2, 2), extra.size()));
        return number(extra, place, 8);
    }

    void clearMark(std::string_view header, std::uint64_t offset, std::size_t flags) {
        const unsigned byte = byteAt(header, flags);
        if ((byte & kUtf8Mark) != 0)
            corrections_.push_back({offset + flags, static_cast<unsigned char>(byte & ~kUtf8Mark)});
    }

    int file_;
    std::uint64_t size_;
    std::vector<Correction> corrections_;
};

} // namespace

std::vector<Correction> nameCorrections(int file, std::uint64_t size) {
    return Names(file, size).corrections();
}

} // namespace quorvane::platform::linux_::tools::ditto
