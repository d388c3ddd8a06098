#include "kit/base/encodings.h"

#include <algorithm>

#include "kit/base/characters.h"

namespace quorvane {
namespace {

std::string fromLatin1(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            text += c;
        } else {
            text += static_cast<char>(0xC0U | (byte >> 6U));
            text += static_cast<char>(0x80U | (byte & 0x3FU));
        }
    }
    return text;
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
        return fromLatin1(bytes);
    }
    return std::nullopt;
}

} // namespace quorvane
