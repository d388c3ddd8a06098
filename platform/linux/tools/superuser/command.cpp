#include "platform/linux/tools/superuser/command.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

#include "platform/linux/authorization/link_free_path.h"
#include "platform/linux/authorization/trash_request.h"
#include "platform/linux/plain_path.h"
#include "platform/linux/posix.h"
#include "platform/linux/privileged_helper/jobs.h"

namespace quorvane::platform::linux_::tools::superuser {
namespace {

bool isOption(const std::string& argument) { return argument.starts_with('-'); }
bool isAbsolute(const std::string& argument) { return argument.starts_with('/'); }

Arguments operandsAs(Path (*form)(const Path&), Arguments arguments) {
    for (std::string& argument : arguments)
        if (isAbsolute(argument)) argument = form(argument);
    return arguments;
}

/// The command in texts that outlive it.
helper::Command commandOf(const Path& tool, const Arguments& arguments) {
    helper::Request request;
    request.texts.at(request.count++) = tool.c_str();
    for (const std::string& argument : arguments)
        request.texts.at(request.count++) = argument.c_str();
    return helper::readCommand(request);
}

/// Whether the kit gives such a command. Its paths are absolute, and it never asks for the form
/// that replaces nothing.
bool isOfKit(const Path& tool, const Arguments& arguments) {
    if (arguments.empty() || arguments.size() >= helper::kMaximumTexts) return false;
    const auto isEither = [](const std::string& text) {
        return isOption(text) || isAbsolute(text);
    };
    const helper::Command command = commandOf(tool, arguments);
    return std::ranges::all_of(arguments, isEither) && command.tool != nullptr &&
           command.replace == helper::Replace::yes;
}

Result<int> carryOut(const Path& tool, const Arguments& arguments) {
    const helper::Command command = commandOf(tool, arguments);
    if (command.error != 0) return systemError(command.error);
    const helper::Started started = helper::start(command, nullptr, STDOUT_FILENO);
    if (started.error != 0) return systemError(started.error);
    return (started.child == 0 ? started.status : helper::waitForTool(started.child, -1)).value;
}

} // namespace

std::optional<Result<int>> perform(const Path& tool, const Arguments& arguments, Trash& trash) {
    const Arguments plain = operandsAs(plainPath, arguments);
    if (!isOfKit(tool, plain)) return std::nullopt;
    for (int attempt = 1;; ++attempt) {
        Arguments asked = plain;
        const auto trashed = announceInTrash(trash, tool, asked);
        Result<int> status = carryOut(tool, operandsAs(linkFreePath, asked));
        if (!trashed) return status;
        if (status) {
            trash.withdraw(*trashed);
            return status;
        }
        trash.cancel(*trashed);
        if (status.error().code != EEXIST || attempt == kTrashAttempts) return status;
    }
}

} // namespace quorvane::platform::linux_::tools::superuser
