// Streams on descriptors. The handle is the descriptor.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "platform/FileManager.h"

namespace quorvane::platform::linux_ {

// As the functions of FileManager. Opening never waits, for a FIFO's other end or a modem's
// carrier, nor does reading from a silent terminal.
Result<StreamHandle> openReadStream(const Path& path);
Result<StreamHandle> openEmptyStream(const Path& path);
Result<StreamHandle> openNewStream(const Path& path);
Result<StreamHandle> openExistingStream(const Path& path);
Result<StreamHandle> openAppendStream(const Path& path);
Result<void> truncateStream(int descriptor);
Result<FileIdentity> identityOfStream(int descriptor);
Result<void> removeEmptyFile(const Path& path, int descriptor);
Result<void> seekStream(int descriptor, std::uint64_t position);
bool endsInsideLine(int descriptor);
StreamRead readStream(int descriptor, std::span<char> buffer);
Result<std::size_t> writeStream(int descriptor, std::string_view bytes);

} // namespace quorvane::platform::linux_
