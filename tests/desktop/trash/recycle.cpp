// Recycles items as a program of the suite would: recycle FOLDER NAME...
// With --announce ITEM DESTINATION, prints where a tool should move the item instead.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/presentation/change_notices.h"
#include "platform/linux/property_lists.h"
#include "platform/linux/user_identity.h"
#include "platform/linux/workspace.h"

using namespace quorvane::platform::linux_;

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const auto identity = std::make_shared<LinuxUserIdentity>();
    if (arguments.size() == 3 && arguments[0] == "--announce") {
        std::puts(Trash(identity).announce(arguments[1], arguments[2]).destination.c_str());
        return 0;
    }
    if (arguments.empty()) return 2;
    LinuxWorkspace workspace(identity, std::make_shared<LinuxPropertyLists>(),
                             std::make_shared<ChangeNotices>());
    const auto result =
        workspace.recycle(arguments[0], "", {arguments.begin() + 1, arguments.end()});
    std::puts(result ? "ok" : result.error().text.c_str());
    return result ? 0 : 1;
}
