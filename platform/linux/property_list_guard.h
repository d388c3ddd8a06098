// Property lists that would exhaust the stack or the memory of a parser which follows them blindly.
#pragma once

#include <string_view>

namespace quorvane::platform::linux_ {

/// Levels of dictionaries and arrays in each other that are taken.
inline constexpr int kMaxPropertyListDepth = 128;

/// Whether a parser can take the bytes without harm; says nothing about whether they are well
/// formed. Any thread.
bool isHarmlessPropertyList(std::string_view bytes);

} // namespace quorvane::platform::linux_
