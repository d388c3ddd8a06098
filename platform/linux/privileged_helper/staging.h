// Copying from and into folders that belong to others.
#pragma once

#include "platform/linux/privileged_helper/command.h"
#include "platform/linux/privileged_helper/place.h"

namespace quorvane::platform::linux_::helper {

/// Starts a copy, or a move from volume to volume. A tool reads and writes a tree by its path;
/// owners of folders on that path could put links into it meanwhile, and so have other files read,
/// or the tree written elsewhere. The tree is therefore walked by descriptor and never through a
/// link, and copied into a folder of the superuser's own beside the destination; what has arrived
/// there whole is renamed to the destination. What is moved goes only then. A copy onto a folder is
/// merged into it where only the superuser can change anything in it. The staging folder is written
/// down in the folder of records. Returns the process that sees to it, or -1 with errno set: EISDIR
/// where another folder is at the destination.
pid_t startStaged(const Command& command, const Place& source, const Place& destination,
                  const Path& records);

} // namespace quorvane::platform::linux_::helper
