// The texts of the freedesktop.org Trash: `.trashinfo` files and the names of items. No disk.
#pragma once

#include <ctime>
#include <string>
#include <string_view>

namespace quorvane::platform::linux_ {

/// What an item's name gets behind it in the info folder.
inline constexpr std::string_view kTrashInfoSuffix = ".trashinfo";

/// The content of an info file: where the item was, percent-encoded, and when it was deleted, in
/// local time. The path is absolute, or relative to the top folder of the Trash's volume. Any
/// thread.
std::string trashInfo(std::string_view path, std::time_t deleted);

/// The first names under which an item may stand in the Trash are numbered 1, 2, 3: "a.txt",
/// "a.2.txt", "a.3.txt". Cut so that the info file's name has no more than 255 bytes, between
/// characters where the name is UTF-8.
std::string trashName(std::string_view name, unsigned long number);

} // namespace quorvane::platform::linux_
