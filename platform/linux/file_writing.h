// Writing whole files, and streams.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/FileManager.h"

namespace quorvane::platform::linux_ {

/// As FileManager::writeAtomically: writes a new file beside the old one and renames it, and leaves
/// nothing behind when that fails.
Result<void> replaceContent(const Path& path, std::string_view content);

/// As FileManager::openForWriting; the handle is the descriptor. Never waits: a FIFO is refused
/// with ENXIO, since its reader could vanish and the signal end the process.
Result<StreamHandle> openStream(const Path& path);

/// As FileManager::write.
Result<std::size_t> writeStream(int descriptor, std::string_view bytes);

} // namespace quorvane::platform::linux_
