// Unpacking archives.
#pragma once

#include "platform/linux/tools/program.h"

namespace quorvane::platform::linux_::tools::ditto {

/// Unpacks a zip archive into a folder. A new folder appears, with those above it, only when all of
/// the archive is in it; into a folder that is there already each item goes at once, in place of a
/// file or link of its name. Items that would land outside the folder, by their name or through a
/// link, that are no file, folder or link, or that are damaged, are reported; what a damaged item
/// had up to the damage stays. Permissions are restored but for set-user-id and set-group-id, which
/// no archive may give away, and times.
void extractArchive(const Path& archive, const Path& folder, Report& report);

/// Why an item of this name has no place in the folder; empty when it has.
std::string nameRefusal(const std::string& name);

} // namespace quorvane::platform::linux_::tools::ditto
