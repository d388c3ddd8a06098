// Text encodings by their platform numbers.
#pragma once

#include <string_view>

#include "platform/Values.h"

namespace quorvane {

/// The platform's numbered string encodings.
enum class TextEncoding : unsigned long {
    ascii = 1,
    utf8 = 4,
    isoLatin1 = 5,
    utf16 = 10, ///< after its byte order mark; without one, in the machine's order
    windowsLatin1 = 12,
    macOSRoman = 30,
    utf16BigEndian = 0x90000100,
    utf16LittleEndian = 0x94000100,
};

/// The bytes as UTF-8 text; null when they are not valid in the encoding or the number is unknown.
MaybeText decodeText(std::string_view bytes, TextEncoding encoding);

} // namespace quorvane
