// Folders named by the environment.
#pragma once

#include <cstdlib>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// The variable's value where it is an absolute path; null otherwise, since a relative one would
/// depend on where the program was started. Any thread, as long as none changes the environment.
inline MaybePath folderFromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value != '/') return std::nullopt;
    return Path(value);
}

} // namespace quorvane::platform::linux_
