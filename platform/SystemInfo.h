// Facts about the machine and the running program.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Values.h"

namespace quorvane::platform {

/// Any thread.
class SystemInfo {
public:
    virtual ~SystemInfo() = default;

    /// The operating system's name and version as it states them itself.
    virtual std::string operatingSystemVersion() = 0;
    virtual long processorCount() = 0;
    /// In bytes.
    virtual std::uint64_t physicalMemory() = 0;
    /// The running program; null when it cannot be found.
    virtual MaybePath executablePath() = 0;
    /// The running program's version; null when it states none.
    virtual MaybeText bundleVersion() = 0;
};

} // namespace quorvane::platform
