// Paths in the form that addresses have.
#pragma once

#include <string>
#include <string_view>

namespace quorvane::platform::linux_ {

/// Every byte but letters, digits and "-_.~/" as "%XX". Any thread.
std::string percentEncoded(std::string_view path);
/// Undoes it. A "%" without two hexadecimal digits behind it stays as it is. Any thread.
std::string percentDecoded(std::string_view text);

} // namespace quorvane::platform::linux_
