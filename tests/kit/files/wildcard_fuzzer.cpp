// Compares the matching of names with the plain definition of what a pattern means.
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "kit/base/characters.h"
#include "kit/files/wildcard.h"

using quorvane::firstCharacterLength;

namespace {

std::vector<std::string_view> charactersOf(std::string_view text) {
    std::vector<std::string_view> characters;
    while (!text.empty()) {
        characters.push_back(text.substr(0, firstCharacterLength(text)));
        text.remove_prefix(characters.back().size());
    }
    return characters;
}

/// Character by character of the pattern: which beginnings of the name its beginning matches.
bool matchesPlainly(std::string_view name, std::string_view pattern) {
    const std::vector<std::string_view> characters = charactersOf(name);
    std::vector<bool> matches(characters.size() + 1, false);
    matches[0] = true;
    for (const std::string_view each : charactersOf(pattern)) {
        std::vector<bool> next(matches.size(), false);
        next[0] = each == "*" && matches[0];
        for (std::size_t end = 1; end < matches.size(); ++end)
            next[end] = each == "*"
                            ? matches[end] || next[end - 1]
                            : matches[end - 1] && (each == "?" || each == characters[end - 1]);
        matches = std::move(next);
    }
    return matches.back();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::size_t middle = size / 2;
    const std::string_view name = text.substr(0, middle);
    const std::string_view pattern = text.substr(middle);
    if (quorvane::matchesWildcard(name, pattern) != matchesPlainly(name, pattern)) std::abort();
    return 0;
}
