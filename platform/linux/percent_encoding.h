// Paths in the form that addresses have.
#pragma once

#include <string>
#include <string_view>

namespace quorvane::platform::linux_ {

/// Every byte but letters, digits and "-_.~/" as "%XX". Any thread.
std::string percentEncoded(std::string_view path);

} // namespace quorvane::platform::linux_
