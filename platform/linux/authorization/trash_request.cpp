#include "platform/linux/authorization/trash_request.h"

namespace quorvane::platform::linux_ {

std::optional<TrashAnnouncement> announceInTrash(Trash& trash, const Path& tool,
                                                 Arguments& arguments) {
    const bool isMove = tool == "/bin/mv" && arguments.size() == 3;
    const bool isCopy = tool == "/bin/cp" && arguments.size() == 5;
    if (!isMove && !isCopy) return std::nullopt;
    if (arguments.front() != "-f" || !trash.holds(arguments.back())) return std::nullopt;
    arguments.front() = "-nT";
    if (isCopy) return std::nullopt;
    auto announced = trash.announce(arguments[1], arguments[2]);
    arguments[2] = announced.destination;
    return announced;
}

} // namespace quorvane::platform::linux_
