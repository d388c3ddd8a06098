// A file that a program reads.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Values.h"

namespace quorvane::programs {

struct SourceFile {
    /// As the user named it.
    std::string name;
    Path path;
    /// In bytes, of what a link leads to; 0 for what has none, such as some devices.
    std::uint64_t size = 0;
};

/// The file of that name. Throws Failure where there is none that the user may read.
SourceFile sourceFile(const std::string& name);

} // namespace quorvane::programs
