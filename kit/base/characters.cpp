#include "kit/base/characters.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <locale>
#include <stdexcept>

namespace quorvane {
namespace {

struct Scalar {
    char32_t value = 0; ///< the code point; meaningless for an invalid byte
    std::size_t length = 1;
    bool valid = false;
};

/// How many bytes a sequence with this first byte has; 0 for bytes that start none.
std::size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if (lead >= 0xE0 && lead <= 0xEF) return 3;
    if (lead >= 0xF0 && lead <= 0xF4) return 4;
    return 0;
}

/// Decodes the character that starts the text, which must not be empty.
Scalar decode(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = sequenceLength(lead);
    if (length == 1) return {lead, 1, true};
    if (length == 0 || length > text.size()) return {};
    char32_t value = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0U) != 0x80U) return {};
        value = (value << 6U) | (next & 0x3FU);
    }
    constexpr std::array<char32_t, 5> smallest{0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
    if (value < smallest.at(length) || value > 0x10FFFF || surrogate) return {};
    return {value, length, true};
}

/// How many ASCII characters start the text: most texts are nothing else.
std::size_t asciiPrefixLength(std::string_view text) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080U;
    std::size_t length = 0;
    for (std::uint64_t word = 0; text.size() - length >= sizeof(word); length += sizeof(word)) {
        std::memcpy(&word, text.data() + length, sizeof(word));
        if ((word & kHighBits) != 0) break;
    }
    while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80) ++length;
    return length;
}

std::size_t unitsOf(const Scalar& scalar) { return scalar.valid && scalar.length == 4 ? 2 : 1; }

bool isSpace(const Scalar& scalar) {
    if (!scalar.valid) return false;
    const char32_t c = scalar.value;
    return c == ' ' || (c >= 0x09 && c <= 0x0D) || c == 0x85 || c == 0xA0 || c == 0x1680 ||
           (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F ||
           c == 0x205F || c == 0x3000;
}

char asciiLowercase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

/// The one locale that is there without being installed and knows all letters.
std::locale allLetters() {
    try {
        return std::locale("C.UTF-8");
    } catch (const std::runtime_error&) {
        return std::locale::classic();
    }
}

char32_t lowercaseScalar(char32_t c) {
    static const std::locale letters = allLetters();
    return static_cast<char32_t>(std::tolower(static_cast<wchar_t>(c), letters));
}

} // namespace

std::size_t characterCount(std::string_view text) {
    std::size_t count = 0;
    for (;;) {
        const std::size_t ascii = asciiPrefixLength(text);
        count += ascii;
        text.remove_prefix(ascii);
        if (text.empty()) return count;
        const Scalar scalar = decode(text);
        count += unitsOf(scalar);
        text.remove_prefix(scalar.length);
    }
}

std::size_t firstCharacterLength(std::string_view text) {
    return text.empty() ? 0 : decode(text).length;
}

std::string_view dropFirstCharacters(std::string_view text, std::size_t count) {
    while (count > 0 && !text.empty()) {
        const Scalar scalar = decode(text);
        count -= std::min(count, unitsOf(scalar));
        text.remove_prefix(scalar.length);
    }
    return text;
}

std::string_view dropLastCharacters(std::string_view text, std::size_t count) {
    const std::size_t all = characterCount(text);
    if (count >= all) return {};
    std::size_t keep = all - count;
    std::size_t bytes = 0;
    while (keep > 0) {
        const Scalar scalar = decode(text.substr(bytes));
        if (unitsOf(scalar) > keep) break;
        keep -= unitsOf(scalar);
        bytes += scalar.length;
    }
    return text.substr(0, bytes);
}

std::string_view trimWhitespace(std::string_view text) {
    const auto isInk = [](char c) { return c > ' ' && c <= '~'; };
    if (!text.empty() && isInk(text.front()) && isInk(text.back())) return text;
    while (!text.empty()) {
        const Scalar scalar = decode(text);
        if (!isSpace(scalar)) break;
        text.remove_prefix(scalar.length);
    }
    while (!text.empty()) {
        std::size_t start = text.size() - 1;
        while (start > 0 && text.size() - start < 4 &&
               (static_cast<unsigned char>(text[start]) & 0xC0U) == 0x80U)
            --start;
        const std::string_view last = text.substr(start);
        const Scalar scalar = decode(last);
        if (scalar.length != last.size() || !isSpace(scalar)) break;
        text.remove_suffix(scalar.length);
    }
    return text;
}

bool isAscii(std::string_view bytes) { return asciiPrefixLength(bytes) == bytes.size(); }

bool isValidUtf8(std::string_view bytes) {
    for (;;) {
        bytes.remove_prefix(asciiPrefixLength(bytes));
        if (bytes.empty()) return true;
        const Scalar scalar = decode(bytes);
        if (!scalar.valid) return false;
        bytes.remove_prefix(scalar.length);
    }
}

std::string lowercase(std::string_view text) {
    std::string lower;
    lower.reserve(text.size());
    while (!text.empty()) {
        const Scalar scalar = decode(text);
        if (scalar.valid && scalar.length > 1)
            lower += encodeCharacter(lowercaseScalar(scalar.value));
        else
            lower += asciiLowercase(text.front());
        text.remove_prefix(scalar.length);
    }
    return lower;
}

std::string replaceInvalidBytes(std::string_view bytes) {
    std::string result;
    while (!bytes.empty()) {
        const Scalar scalar = decode(bytes);
        result.append(scalar.valid ? bytes.substr(0, scalar.length) : "\xEF\xBF\xBD");
        bytes.remove_prefix(scalar.length);
    }
    return result;
}

std::string encodeCharacter(std::uint64_t number) {
    if (number > 0x10FFFF || (number >= 0xD800 && number <= 0xDFFF)) number = 0xFFFD;
    const auto tail = [number](unsigned shift) {
        return static_cast<char>(0x80U | ((number >> shift) & 0x3FU));
    };
    if (number < 0x80) return {static_cast<char>(number)};
    if (number < 0x800) return {static_cast<char>(0xC0U | (number >> 6U)), tail(0)};
    if (number < 0x10000) return {static_cast<char>(0xE0U | (number >> 12U)), tail(6), tail(0)};
    return {static_cast<char>(0xF0U | (number >> 18U)), tail(12), tail(6), tail(0)};
}

std::string replaceAll(std::string_view text, std::string_view piece,
                       std::string_view replacement) {
    std::string result;
    result.reserve(text.size());
    for (;;) {
        const std::size_t at = text.find(piece);
        result.append(text.substr(0, at));
        if (at == std::string_view::npos) return result;
        result.append(replacement);
        text.remove_prefix(at + piece.size());
    }
}

} // namespace quorvane
