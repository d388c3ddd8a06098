#include "platform/linux/tools.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/UserIdentity.h"

namespace quorvane::platform::linux_ {
namespace {

struct OwnTool {
    const char* path;
    const char* name;
};

/// In place of whatever stands at the path, so that callers meet the same tool on every system.
constexpr std::array kOwnTools = {
    OwnTool{"/usr/bin/ditto", "ditto"}, OwnTool{"/usr/bin/xattr", "xattr"},
    OwnTool{"/usr/sbin/diskutil", "diskutil"}, OwnTool{"/usr/sbin/lsof", "lsof"}};
constexpr std::array kSuperusersTools = {OwnTool{"/bin/cp", "cp"}, OwnTool{"/bin/mv", "mv"},
                                         OwnTool{"/bin/rm", "rm"}};

bool isProgram(const Path& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::access(path.c_str(), X_OK) == 0;
}

/// The name of the own tool for a path; null where there is none.
const char* nameIn(std::span<const OwnTool> tools, const Path& path) {
    const auto own =
        std::ranges::find_if(tools, [&](const OwnTool& each) { return path == each.path; });
    return own == tools.end() ? nullptr : own->name;
}

class LinuxTools final : public Tools {
public:
    LinuxTools(Path ownTools, Superuser superuser)
        : ownTools_(std::move(ownTools)), superuser_(superuser) {}

    Path locate(const Path& tool) override {
        const char* name = nameIn(kOwnTools, tool);
        if (name == nullptr && superuser_ == Superuser::yes) name = nameIn(kSuperusersTools, tool);
        if (name == nullptr) return tool;
        const Path program = ownTools_ + "/" + name;
        return isProgram(program) ? program : tool;
    }

private:
    Path ownTools_;
    Superuser superuser_;
};

} // namespace

std::shared_ptr<Tools> makeTools(Path ownTools, Superuser superuser) {
    return std::make_shared<LinuxTools>(std::move(ownTools), superuser);
}

std::shared_ptr<Tools> makeTools() {
    return makeTools(QUORVANE_TOOLS, ::getuid() == kSuperuserId ? Superuser::yes : Superuser::no);
}

} // namespace quorvane::platform::linux_
