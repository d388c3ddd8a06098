// Paths as text: nothing here looks at the disk.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// The parts of a path between its slashes, without empty and "." ones. Any thread, like all here.
std::vector<std::string> pathParts(std::string_view path);

/// An absolute path without doubled slashes, slashes at its end and "." parts; a relative or empty
/// one as it is. ".." parts stay: what they mean depends on the links before them.
Path plainPath(const Path& path);

/// Whether an absolute path means one place whatever links there are above it: it is plain and has
/// no ".." part.
bool isPlain(const Path& path);

} // namespace quorvane::platform::linux_
