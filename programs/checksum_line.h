// Digests as checkers read them.
#pragma once

#include <string>
#include <string_view>

namespace quorvane::programs {

/// "DIGEST  NAME" and a line break, as "sha256sum -c" and its kin take it. A backslash in front
/// tells them that backslashes and line breaks in the name are escaped; all other bytes stand as
/// they are.
std::string checksumLine(std::string_view digest, std::string_view name);

} // namespace quorvane::programs
