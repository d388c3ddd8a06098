#include "platform/linux/presentation/desktop_entry.h"

#include <algorithm>

namespace quorvane::platform::linux_ {
namespace {

// What stands behind a backslash, and what it means.
constexpr std::string_view kLetters = "sntr\\";
constexpr std::string_view kMeanings = " \n\t\r\\";

std::string unescaped(std::string_view value) {
    std::string text;
    for (std::size_t index = 0; index < value.size(); ++index) {
        if (value[index] != '\\' || index + 1 == value.size()) {
            text += value[index];
            continue;
        }
        const auto letter = kLetters.find(value[++index]);
        if (letter == std::string_view::npos)
            text += {'\\', value[index]};
        else
            text += kMeanings[letter];
    }
    return text;
}

} // namespace

std::string entryString(std::string_view text) {
    // Blanks inside stay as they are, for people who read entries.
    const auto first = text.find_first_not_of(' ');
    const auto last = text.find_last_not_of(' ');
    std::string value;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const auto meaning = kMeanings.find(text[index]);
        const bool isInnerBlank =
            text[index] == ' ' && first != std::string_view::npos && index > first && index < last;
        if (meaning == std::string_view::npos || isInnerBlank)
            value += text[index];
        else
            value += {'\\', kLetters[meaning]};
    }
    return value;
}

std::string entryCommand(std::string_view program) {
    static constexpr std::string_view kSpecialInQuotes = "\"`$\\";
    std::string quoted = "\"";
    for (const char letter : program) {
        if (kSpecialInQuotes.find(letter) != std::string_view::npos) quoted += '\\';
        quoted += letter;
        if (letter == '%') quoted += '%'; // else the start of a field code
    }
    return entryString(quoted + "\"");
}

MaybeText entryValue(std::string_view entry, std::string_view key) {
    bool inMainGroup = false;
    while (!entry.empty()) {
        const std::string_view line = entry.substr(0, entry.find('\n'));
        entry.remove_prefix(std::min(line.size() + 1, entry.size()));
        if (line.starts_with('[')) inMainGroup = line.starts_with("[Desktop Entry]");
        if (!inMainGroup || !line.starts_with(key)) continue;

        std::string_view rest = line.substr(key.size());
        const auto equals = rest.find_first_not_of(' ');
        if (equals == std::string_view::npos || rest[equals] != '=') continue;
        rest.remove_prefix(equals + 1);
        const auto start = rest.find_first_not_of(' ');
        return start == std::string_view::npos ? std::string() : unescaped(rest.substr(start));
    }
    return std::nullopt;
}

} // namespace quorvane::platform::linux_
