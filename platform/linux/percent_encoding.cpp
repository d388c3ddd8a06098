#include "platform/linux/percent_encoding.h"

#include <charconv>

namespace quorvane::platform::linux_ {
namespace {

bool isUnreserved(char letter) {
    return (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z') ||
           (letter >= '0' && letter <= '9') ||
           std::string_view("-_.~/").find(letter) != std::string_view::npos;
}

} // namespace

std::string percentEncoded(std::string_view path) {
    static constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(path.size() + 16);
    for (const char letter : path) {
        if (isUnreserved(letter)) {
            encoded += letter;
            continue;
        }
        const auto byte = static_cast<unsigned char>(letter);
        encoded += {'%', kDigits[byte >> 4U], kDigits[byte & 0x0FU]};
    }
    return encoded;
}

std::string percentDecoded(std::string_view text) {
    std::string decoded;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const std::string_view digits =
            text[index] == '%' ? text.substr(index + 1, 2) : std::string_view();
        unsigned char byte = 0;
        const char* end = digits.data() + digits.size();
        if (digits.size() != 2 || std::from_chars(digits.data(), end, byte, 16).ptr != end) {
            decoded += text[index];
            continue;
        }
        decoded += static_cast<char>(byte);
        index += 2;
    }
    return decoded;
}

} // namespace quorvane::platform::linux_
