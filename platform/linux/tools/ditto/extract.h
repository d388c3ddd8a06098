// Unpacking archives.
#pragma once

#include "platform/linux/tools/program.h"

namespace quorvane::platform::linux_::tools::ditto {

/// Unpacks a zip archive into a folder, wholly or not at all: items go into a hidden folder on its
/// volume first. A new folder appears, with those above it, once all of the archive is in it; in a
/// folder that is there already, the items then take the place of files and links of their names,
/// one after the other. Items that would land outside the folder, by their name or through a link,
/// that are no file, folder or link, that are not what the archive's directory tells, or that are
/// damaged, are reported, and nothing is unpacked. Permissions are restored but for set-user-id and
/// set-group-id, which no archive may give away, and times.
void extractArchive(const Path& archive, const Path& folder, Report& report);

/// Why an item of this name has no place in the folder; empty when it has.
std::string nameRefusal(const std::string& name);

} // namespace quorvane::platform::linux_::tools::ditto
