#include "kit/base/encodings.h"

#include <bit>
#include <cstddef>

#include "kit/base/characters.h"

namespace quorvane {
namespace {

constexpr std::size_t kHalf = 128;
constexpr char16_t kUndefined = u'\uFFFD';

/// The characters of the upper half of the byte values, from 0x80 on; those that it does not reach
/// are the ones of ISO Latin 1.
constexpr std::u16string_view kMacRoman = u"ÄÅÇÉÑÖÜáàâäãåçéèêëíìîïñóòôöõúùûü"
                                          u"†°¢£§•¶ß®©™´¨≠ÆØ∞±≤≥¥µ∂∑∏π∫ªºΩæø"
                                          u"¿¡¬√ƒ≈∆«»…\u00A0ÀÃÕŒœ–—“”‘’÷◊ÿŸ⁄€‹›ﬁﬂ"
                                          u"‡·‚„‰ÂÊÁËÈÍÎÏÌÓÔ\uF8FFÒÚÛÙıˆ˜¯˘˙˚¸˝˛ˇ";
constexpr std::u16string_view kWindowsLatin1 =
    u"€\uFFFD‚ƒ„…†‡ˆ‰Š‹Œ\uFFFDŽ\uFFFD\uFFFD‘’“”•–—˜™š›œ\uFFFDžŸ";
static_assert(kMacRoman.size() == kHalf && kWindowsLatin1.size() == 32);

MaybeText fromSingleBytes(std::string_view bytes, std::u16string_view upperHalf) {
    std::string text;
    text.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        const bool listed = byte >= kHalf && byte - kHalf < upperHalf.size();
        const char32_t character = listed ? upperHalf[byte - kHalf] : byte;
        if (character == kUndefined) return std::nullopt;
        text += encodeCharacter(character);
    }
    return text;
}

char32_t unitAt(std::string_view bytes, std::size_t at, std::endian order) {
    const auto first = static_cast<unsigned char>(bytes[at]);
    const auto second = static_cast<unsigned char>(bytes[at + 1]);
    return order == std::endian::big ? first * 256U + second : second * 256U + first;
}

bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

MaybeText fromUtf16(std::string_view bytes, std::endian order) {
    if (bytes.size() % 2 != 0) return std::nullopt;
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 2) {
        char32_t character = unitAt(bytes, at, order);
        if (isHighSurrogate(character)) {
            at += 2;
            const char32_t low = at < bytes.size() ? unitAt(bytes, at, order) : 0;
            if (!isLowSurrogate(low)) return std::nullopt;
            character = 0x10000 + ((character - 0xD800) << 10U) + (low - 0xDC00);
        } else if (isLowSurrogate(character)) {
            return std::nullopt;
        }
        text += encodeCharacter(character);
    }
    return text;
}

/// The byte order mark, which is no part of the text, tells the order. Without one it is the
/// machine's: tools that write none write what they have in memory, and iconv reads it so too.
MaybeText fromMarkedUtf16(std::string_view bytes) {
    if (bytes.starts_with("\xFE\xFF")) return fromUtf16(bytes.substr(2), std::endian::big);
    if (bytes.starts_with("\xFF\xFE")) return fromUtf16(bytes.substr(2), std::endian::little);
    return fromUtf16(bytes, std::endian::native);
}

} // namespace

MaybeText decodeText(std::string_view bytes, TextEncoding encoding) {
    switch (encoding) {
    case TextEncoding::ascii:
        if (isAscii(bytes)) return std::string(bytes);
        break;
    case TextEncoding::utf8:
        if (isValidUtf8(bytes)) return std::string(bytes);
        break;
    case TextEncoding::isoLatin1:
        return fromSingleBytes(bytes, {});
    case TextEncoding::macOSRoman:
        return fromSingleBytes(bytes, kMacRoman);
    case TextEncoding::windowsLatin1:
        return fromSingleBytes(bytes, kWindowsLatin1);
    case TextEncoding::utf16:
        return fromMarkedUtf16(bytes);
    case TextEncoding::utf16BigEndian:
        return fromUtf16(bytes, std::endian::big);
    case TextEncoding::utf16LittleEndian:
        return fromUtf16(bytes, std::endian::little);
    }
    return std::nullopt;
}

} // namespace quorvane
