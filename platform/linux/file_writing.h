// Writing whole files.
#pragma once

#include <string_view>

#include "platform/FileManager.h"

namespace quorvane::platform::linux_ {

/// As FileManager::writeAtomically: writes a new file beside the old one and renames it, and leaves
/// nothing behind when that fails.
Result<void> replaceContent(const Path& path, std::string_view content);

} // namespace quorvane::platform::linux_
