// Folders named by the environment.
#pragma once

#include <cstdlib>

#include "platform/Values.h"
#include "platform/linux/plain_path.h"

namespace quorvane::platform::linux_ {

/// The variable's value, as it is spelt, where it is an absolute path; null otherwise, since a
/// relative one would depend on where the program was started. Any thread, like all here, as long
/// as none changes the environment.
inline MaybePath pathFromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value != '/') return std::nullopt;
    return Path(value);
}

/// The same as a plain path, which can be compared with others.
inline MaybePath folderFromEnvironment(const char* name) {
    const MaybePath path = pathFromEnvironment(name);
    return path ? plainPath(*path) : path;
}

} // namespace quorvane::platform::linux_
