#include "platform/linux/trash_info.h"

#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "platform/linux/percent_encoding.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr std::size_t kMaxName = 255 - kTrashInfoSuffix.size();
// A longer "extension" is a part of the name that happens to follow a dot.
constexpr std::size_t kMaxExtension = 32;

// Tried in order, before others at random.
constexpr int kOrderedNames = 8;

unsigned long nameNumber(int attempt) {
    if (attempt < kOrderedNames) return static_cast<unsigned long>(attempt) + 1;
    std::uint32_t random = 0;
    ignore(::getrandom(&random, sizeof random, 0)); // zero is a number too
    const unsigned bits = std::min(32U, static_cast<unsigned>(attempt) - kOrderedNames + 6U);
    return kOrderedNames + 1 + (random & ((std::uint64_t{1} << bits) - 1));
}

// The dot and what follows it; empty for names such as "Notes" or ".profile".
std::string_view extensionWithDot(std::string_view name) {
    const auto dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || name.size() - dot > kMaxExtension) return {};
    return name.substr(dot);
}

// A character of UTF-8 has at most three continuation bytes.
std::string_view cut(std::string_view text, std::size_t length) {
    if (text.size() <= length) return text;
    std::size_t end = length;
    while (end + 3 > length && end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U)
        --end;
    const bool isCharacterStart = (static_cast<unsigned char>(text[end]) & 0xC0U) != 0x80U;
    return text.substr(0, isCharacterStart ? end : length);
}

} // namespace

std::string trashInfo(std::string_view path, std::time_t deleted) {
    std::tm local{};
    ::localtime_r(&deleted, &local);
    std::array<char, 32> date{};
    const std::size_t length = std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &local);
    return "[Trash Info]\nPath=" + percentEncoded(path) +
           "\nDeletionDate=" + std::string(date.data(), length) + "\n";
}

std::string trashName(std::string_view name, unsigned long number) {
    std::string ending;
    if (number > 1) ending = "." + std::to_string(number);
    ending += extensionWithDot(name);
    const std::string_view stem = name.substr(0, name.size() - extensionWithDot(name).size());
    return std::string(cut(stem, kMaxName - ending.size())) + ending;
}

std::string trashNameToTry(std::string_view name, int attempt) {
    return trashName(name, nameNumber(attempt));
}

} // namespace quorvane::platform::linux_
