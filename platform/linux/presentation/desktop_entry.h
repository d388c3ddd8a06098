// The texts of desktop entries, by the freedesktop.org Desktop Entry Specification. No disk.
#pragma once

#include <string>
#include <string_view>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// A value of type string, with the escapes for what would end the line or be trimmed. Any thread,
/// like all here.
std::string entryString(std::string_view text);
/// A value that starts a program without arguments, whatever characters its path has.
std::string entryCommand(std::string_view program);

/// The text of a key in the entry's main group; null without such a line.
MaybeText entryValue(std::string_view entry, std::string_view key);

} // namespace quorvane::platform::linux_
