#include "kit/files/wildcard.h"

#include "kit/base/characters.h"

namespace quorvane {

bool matchesWildcard(std::string_view name, std::string_view pattern) {
    // Where to go on when the rest does not match: behind the last "*", with one more character
    // given to it. An earlier "*" never needs to take more than it did.
    std::string_view afterStar;
    std::string_view untried;
    bool hasStar = false;
    while (!name.empty()) {
        const std::string_view character = name.substr(0, firstCharacterLength(name));
        if (pattern.starts_with('*')) {
            pattern.remove_prefix(1);
            afterStar = pattern;
            untried = name;
            hasStar = true;
        } else if (pattern.starts_with('?')) {
            pattern.remove_prefix(1);
            name.remove_prefix(character.size());
        } else if (!pattern.empty() &&
                   pattern.substr(0, firstCharacterLength(pattern)) == character) {
            pattern.remove_prefix(character.size());
            name.remove_prefix(character.size());
        } else if (hasStar) {
            untried.remove_prefix(firstCharacterLength(untried));
            name = untried;
            pattern = afterStar;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*') == std::string_view::npos;
}

} // namespace quorvane
