// Small programs that stand in for those that the service starts.
#pragma once

#include <filesystem>
#include <string>

#include "platform/linux/authorization/socket_child.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {

/// Says on standard input, which is a socket, that the right is granted: a message of zeros.
inline const std::string kGrant = "head -c 12 /dev/zero >&0\n";
/// Stays until the other end of the socket is closed.
inline const std::string kStay = "exec cat >/dev/null\n";

/// Makes an executable shell script and answers its path.
inline Path addScript(const ScratchFolder& folder, const std::string& name,
                      const std::string& lines) {
    Path script = folder.addFile(name, "#!/bin/sh\n" + lines);
    std::filesystem::permissions(script, std::filesystem::perms::owner_all |
                                             std::filesystem::perms::others_read |
                                             std::filesystem::perms::others_exec);
    return script;
}

/// The test of an agent that is a script, which can be read and so would not pass a real one.
inline bool trustScripts(const Path& /*program*/, const platform::linux_::SocketChild& /*agent*/) {
    return true;
}

} // namespace quorvane::testing
