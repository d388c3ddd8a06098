// Extended attributes as the command line names and shows them.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "platform/Values.h"
#include "platform/linux/tools/program.h"

namespace quorvane::platform::linux_::tools::xattr {

/// What the arguments ask for.
struct Command {
    enum class Action { listNames, listValues, print, write, remove };
    Action action = Action::listNames;
    std::string name;
    std::string value;
    std::vector<Path> files;
};

/// Reads `-w NAME VALUE FILE…`, `-p NAME FILE…`, `-d NAME FILE…`, `-l FILE…` and `FILE…`. Throws
/// UsageError.
Command parseCommand(const Arguments& arguments);

/// Does it for each file. A file's failure is reported, and the others follow.
void perform(const Command& command, std::ostream& output, Report& report);

} // namespace quorvane::platform::linux_::tools::xattr
