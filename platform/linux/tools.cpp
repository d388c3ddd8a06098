#include "platform/linux/tools.h"

#include <algorithm>
#include <array>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

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

bool isProgram(const Path& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::access(path.c_str(), X_OK) == 0;
}

class LinuxTools final : public Tools {
public:
    explicit LinuxTools(Path ownTools) : ownTools_(std::move(ownTools)) {}

    Path locate(const Path& tool) override {
        const auto own = std::find_if(kOwnTools.begin(), kOwnTools.end(),
                                      [&](const OwnTool& each) { return tool == each.path; });
        if (own == kOwnTools.end()) return tool;
        const Path program = ownTools_ + "/" + own->name;
        return isProgram(program) ? program : tool;
    }

private:
    Path ownTools_;
};

} // namespace

std::shared_ptr<Tools> makeTools(Path ownTools) {
    return std::make_shared<LinuxTools>(std::move(ownTools));
}

std::shared_ptr<Tools> makeTools() { return makeTools(QUORVANE_TOOLS); }

} // namespace quorvane::platform::linux_
