// Making archives.
#pragma once

#include "platform/linux/tools/program.h"

namespace quorvane::platform::linux_::tools::ditto {

/// Writes an item with all below it into a zip archive: names as bytes, permissions, times in whole
/// seconds, links as links (the item itself included), empty folders. Sockets, devices and FIFOs,
/// and what vanishes meanwhile, are left out with a note. An item that cannot be read is a Failure,
/// after which no archive is there, or the one that was there before.
void createArchive(const Path& source, const Path& archive, bool keepParent, Report& report);

} // namespace quorvane::platform::linux_::tools::ditto
