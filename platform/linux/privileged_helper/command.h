// Which commands exist at all: the tools, options and operands that the kit uses.
#pragma once

#include <array>

#include "platform/linux/privileged_helper/place.h"
#include "platform/linux/privileged_helper/request.h"

namespace quorvane::platform::linux_::helper {

enum class Job { remove, removeEmptyFolders, move, copy, makeFolder, touch };

struct Command {
    int error = 0; ///< why the request is no command; 0 if it is one
    Job job = Job::remove;
    const char* tool = nullptr; ///< null where the options are those of no command
    /// What the tool gets for the options asked for; null where the helper does the work itself.
    const char* option = nullptr;
    Replace replace = Replace::yes; ///< whether what stands at the destination gives way
    std::uint32_t operandCount = 0;
    std::array<const char*, 2> operands{}; ///< plain absolute paths, in the request's message
};

/// EPERM for any other tool; EINVAL for other options, another number of operands, and operands
/// that are not absolute or have empty, "." or ".." parts.
Command readCommand(const Request& request);

} // namespace quorvane::platform::linux_::helper
