// Tests of file names, written as predicate texts.
#pragma once

#include <string_view>

namespace brightkeel {

/// Whether a name matches a predicate made of comparisons "SELF BEGINSWITH[c] 'text'",
/// "ENDSWITH[c]" and "CONTAINS[c]", each ignoring the case of ASCII letters, joined by NOT, AND and
/// OR, which bind in that order. A text that is no such predicate matches nothing.
bool nameMatches(std::string_view name, std::string_view predicate);

} // namespace brightkeel
