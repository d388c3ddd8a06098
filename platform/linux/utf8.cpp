#include "platform/linux/utf8.h"

#include <algorithm>

namespace quorvane::platform::linux_ {
namespace {

unsigned byteAt(std::string_view bytes, std::size_t index) {
    return index < bytes.size() ? static_cast<unsigned char>(bytes[index]) : 0U;
}

bool isBetween(unsigned byte, unsigned low, unsigned high) { return byte >= low && byte <= high; }

/// The length of the character at the front; 0 when there is none. After some first bytes, the
/// second one must lie in less than the whole range of continuation bytes.
std::size_t characterLength(std::string_view bytes) {
    const unsigned first = byteAt(bytes, 0);
    const unsigned second = byteAt(bytes, 1);
    if (first < 0x80) return 1;
    if (isBetween(first, 0xC2, 0xDF)) return isBetween(second, 0x80, 0xBF) ? 2 : 0;
    const bool third = isBetween(byteAt(bytes, 2), 0x80, 0xBF);
    if (isBetween(first, 0xE0, 0xEF)) {
        const unsigned low = first == 0xE0 ? 0xA0 : 0x80;
        const unsigned high = first == 0xED ? 0x9F : 0xBF;
        return isBetween(second, low, high) && third ? 3 : 0;
    }
    if (!isBetween(first, 0xF0, 0xF4)) return 0;
    const unsigned low = first == 0xF0 ? 0x90 : 0x80;
    const unsigned high = first == 0xF4 ? 0x8F : 0xBF;
    const bool fourth = isBetween(byteAt(bytes, 3), 0x80, 0xBF);
    return isBetween(second, low, high) && third && fourth ? 4 : 0;
}

} // namespace

bool isUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t length = characterLength(bytes);
        if (length == 0) return false;
        bytes.remove_prefix(length);
    }
    return true;
}

} // namespace quorvane::platform::linux_
