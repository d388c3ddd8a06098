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

/// How many names are tried before none counts as free.
inline constexpr int kTrashNameAttempts = 40;
/// The name to try next: the first ones in order, then at random in a growing range, so that free
/// ones are found at once even where thousands of items of one name lie in the Trash.
std::string trashNameToTry(std::string_view name, int attempt);

} // namespace quorvane::platform::linux_
