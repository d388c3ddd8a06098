// The program that answers polkit, and sees whether polkit answers.
#pragma once

#include <chrono>
#include <optional>

#include "platform/linux/authorization/socket_child.h"

namespace quorvane::platform::linux_ {

/// How long the program may take to reach polkit; without a working bus it never does.
inline constexpr std::chrono::seconds kAgentPatience{5};

/// The running program, once it has reached polkit; null, and gone, if it does not get that far.
std::optional<SocketChild> startAgentProgram(const Path& program, const Arguments& arguments,
                                             std::chrono::milliseconds patience = kAgentPatience);

} // namespace quorvane::platform::linux_
