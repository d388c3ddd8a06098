// Reading configuration files that may belong to somebody else.
#pragma once

#include <cstddef>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// The whole content of a regular file; EFBIG beyond the limit in bytes, EINVAL for anything that
/// is no regular file. A link is followed; a FIFO or device never blocks the caller. Any thread.
Result<Bytes> readSmallFile(const Path& path, std::size_t limit);

} // namespace quorvane::platform::linux_
