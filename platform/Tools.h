// Where command-line tools stand.
#pragma once

#include "platform/Values.h"

namespace quorvane::platform {

/// Any thread.
class Tools {
public:
    virtual ~Tools() = default;
    /// The program that does here what callers expect of the tool of this path; the path itself
    /// where that is it, or where there is none. Whoever checks or starts a tool asks first;
    /// messages name the path as the caller gave it.
    virtual Path locate(const Path& tool) = 0;
};

} // namespace quorvane::platform
