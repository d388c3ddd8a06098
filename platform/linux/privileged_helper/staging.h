// Copying into folders that belong to others.
#pragma once

#include "platform/linux/privileged_helper/tool.h"

namespace quorvane::platform::linux_::helper {

/// Whether only the superuser can change what stands in the folder.
bool isSuperusersOwn(int folder);

/// Starts a copy, or a move from volume to volume. A tool writes a tree by its path; the owner of
/// the folder could put a link into that path meanwhile and so have the tree written anywhere. It
/// therefore writes into a folder of the superuser's own beside the destination, and what has
/// arrived there is renamed to the destination at the end. What is moved goes only then. Answers
/// the process that sees to it, or -1 with errno set: EISDIR where a folder is at the destination
/// already.
pid_t startStaged(const Command& command, const Place& source, const Place& destination,
                  int output);

} // namespace quorvane::platform::linux_::helper
