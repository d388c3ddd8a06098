// Named byte strings attached to files and folders.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "platform/Values.h"

namespace quorvane::platform {

/// A final symbolic link is followed. Any thread.
class ExtendedAttributes {
public:
    virtual ~ExtendedAttributes() = default;

    /// The value's length in bytes.
    virtual Result<std::size_t> size(const Path& path, const std::string& name) = 0;
    /// Copies the value into the buffer and answers its length; ERANGE when the buffer is too
    /// small.
    virtual Result<std::size_t> get(const Path& path, const std::string& name,
                                    std::span<char> buffer) = 0;
    /// Creates or replaces the value.
    virtual Result<void> set(const Path& path, const std::string& name, std::string_view value) = 0;
};

} // namespace quorvane::platform
