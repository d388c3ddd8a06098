// The folders that a user chose with the desktop's own settings, in `user-dirs.dirs`.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// Plain paths by the file's own names, such as "DOCUMENTS" or "VIDEOS". Lines that are no setting,
/// paths that are relative, and folders set to the home itself, which is how a folder is switched
/// off, are left out. Any thread.
std::map<std::string, Path> parseUserDirectories(std::string_view text, const Path& home);

/// The settings of the user with this home and configuration folder; empty when there are none.
std::map<std::string, Path> userDirectories(const Path& configuration, const Path& home);

} // namespace quorvane::platform::linux_
