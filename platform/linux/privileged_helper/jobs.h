// Commands carried out.
#pragma once

#include "platform/linux/privileged_helper/command.h"
#include "platform/linux/privileged_helper/protected_folders.h"
#include "platform/linux/privileged_helper/tool.h"

namespace quorvane::platform::linux_::helper {

struct Started {
    int error = 0;     ///< why nothing was started; 0 if something was
    pid_t child = 0;   ///< the process that does it; 0 if it is done already
    ToolStatus status; ///< of what is done already
};

/// Opens the places of the operands and starts the command, its output going to the descriptor.
/// Refuses what must not be: EPERM for a protected folder that would be removed, moved or replaced,
/// and for a move that would give a user what only the superuser could reach; EBUSY for a removal
/// or a move of a folder in which anything is mounted; EISDIR for a move onto another folder;
/// EEXIST where something is in the way that may not be replaced.
/// Null protects no folders. Staging folders are written down in the folder of records.
Started start(const Command& command, const ProtectedFolders* protectedFolders, int output,
              const Path& records = {});

} // namespace quorvane::platform::linux_::helper
