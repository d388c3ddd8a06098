#include "platform/linux/property_list_guard.h"

#include <cstdint>
#include <optional>

namespace quorvane::platform::linux_ {
namespace {

// Dictionaries and arrays of a text. Parsers that recurse have been seen to survive more than this
// many in each other; real files hold some hundreds in all.
constexpr std::size_t kMaxContainers = 10'000;
// Values of a binary list with every shared one counted as often as it is used, because each use
// becomes a copy; and the bytes of all those copies.
constexpr std::size_t kMaxValues = 1'000'000;
constexpr std::uint64_t kMaxValueBytes = std::uint64_t{64} << 20U;

constexpr std::string_view kBinaryMark = "bplist";
constexpr std::size_t kTrailerLength = 32;

std::size_t occurrences(std::string_view text, std::string_view piece) {
    std::size_t count = 0;
    for (auto at = text.find(piece); at != std::string_view::npos;
         at = text.find(piece, at + piece.size()))
        ++count;
    return count;
}

// Walks the values of a binary list as a parser would, with limits.
class BinaryWalk {
public:
    explicit BinaryWalk(std::string_view bytes) : bytes_(bytes) {}

    bool isHarmless() {
        if (bytes_.size() < kBinaryMark.size() + kTrailerLength) return false;
        const std::size_t trailer = bytes_.size() - kTrailerLength;
        offsetLength_ = byte(trailer + 6);
        referenceLength_ = byte(trailer + 7);
        count_ = number(trailer + 8, 8).value_or(0);
        const std::uint64_t top = number(trailer + 16, 8).value_or(0);
        table_ = number(trailer + 24, 8).value_or(0);
        return offsetLength_ >= 1 && offsetLength_ <= 8 && referenceLength_ >= 1 &&
               referenceLength_ <= 8 && walk(top, 0);
    }

private:
    std::uint8_t byte(std::uint64_t at) const { return static_cast<std::uint8_t>(bytes_[at]); }

    // A big-endian number; null outside of the bytes.
    std::optional<std::uint64_t> number(std::uint64_t at, std::uint64_t length) const {
        if (at > bytes_.size() || length > bytes_.size() - at) return std::nullopt;
        std::uint64_t value = 0;
        for (std::uint64_t index = 0; index < length; ++index)
            value = (value << 8U) | byte(at + index);
        return value;
    }

    bool walk(std::uint64_t reference, int depth) {
        if (reference >= count_ || count_ > bytes_.size() || table_ > bytes_.size() ||
            ++values_ > kMaxValues)
            return false;
        const auto at = number(table_ + reference * offsetLength_, offsetLength_);
        if (!at || *at >= bytes_.size()) return false;
        const unsigned type = byte(*at) >> 4U;
        std::uint64_t length = byte(*at) & 0x0FU;
        std::uint64_t content = *at + 1;
        if (type == 0x4 || type == 0x5 || type == 0x6 || type >= 0xA) {
            if (length == 0x0F && !readLength(content, length)) return false;
            if (length > bytes_.size()) return false;
        }
        if (type == 0xA || type == 0xC) return walkReferences(content, length, depth);
        if (type == 0xD) return walkReferences(content, 2 * length, depth);
        valueBytes_ += length;
        return valueBytes_ <= kMaxValueBytes;
    }

    // A length too long for the marker follows it as an integer with a marker of its own.
    bool readLength(std::uint64_t& content, std::uint64_t& length) const {
        const auto marker = number(content, 1);
        if (!marker || (*marker >> 4U) != 0x1 || (*marker & 0x0FU) > 3) return false;
        const std::uint64_t size = std::uint64_t{1} << (*marker & 0x0FU);
        const auto stated = number(content + 1, size);
        if (!stated) return false;
        length = *stated;
        content += 1 + size;
        return true;
    }

    bool walkReferences(std::uint64_t content, std::uint64_t count, int depth) {
        if (depth == kMaxPropertyListDepth) return false;
        for (std::uint64_t index = 0; index < count; ++index) {
            const auto reference = number(content + index * referenceLength_, referenceLength_);
            if (!reference || !walk(*reference, depth + 1)) return false;
        }
        return true;
    }

    std::string_view bytes_;
    std::uint64_t offsetLength_ = 0;
    std::uint64_t referenceLength_ = 0;
    std::uint64_t count_ = 0;
    std::uint64_t table_ = 0;
    std::size_t values_ = 0;
    std::uint64_t valueBytes_ = 0;
};

} // namespace

bool isHarmlessPropertyList(std::string_view bytes) {
    if (bytes.starts_with(kBinaryMark)) return BinaryWalk(bytes).isHarmless();
    return occurrences(bytes, "<dict") + occurrences(bytes, "<array") <= kMaxContainers;
}

} // namespace quorvane::platform::linux_
