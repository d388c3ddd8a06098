// What the archiver is asked to do.
#pragma once

#include "platform/linux/tools/program.h"

namespace quorvane::platform::linux_::tools::ditto {

struct Command {
    enum class Action { create, extract };
    Action action = Action::create;
    /// Whether a folder stands in the archive itself, or only what it holds.
    bool keepParent = false;
    /// The item to archive, or the archive to unpack.
    Path source;
    /// The archive to make, or the folder to unpack into.
    Path destination;
};

/// Reads `-c -k [--keepParent] SOURCE ARCHIVE` and `-x -k ARCHIVE FOLDER`; the single letters may
/// stand together and in any order. Throws UsageError.
Command parseCommand(const Arguments& arguments);

} // namespace quorvane::platform::linux_::tools::ditto
