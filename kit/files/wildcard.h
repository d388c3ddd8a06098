// Names with wildcards.
#pragma once

#include <string_view>

namespace quorvane {

/// Whether a name matches a pattern in which "*" stands for any characters or none and "?" for
/// exactly one; everything else stands for itself, brackets and backslashes included. Case counts.
/// A byte that is no part of valid UTF-8 is one character. Takes time of at most the product of
/// both lengths, whatever the pattern.
bool matchesWildcard(std::string_view name, std::string_view pattern);

} // namespace quorvane
