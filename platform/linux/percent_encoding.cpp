#include "platform/linux/percent_encoding.h"

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

} // namespace quorvane::platform::linux_
