#include "kit/files/folder_walk.h"

#include "kit/base/components.h"
#include "platform/Services.h"

namespace quorvane {
namespace {

using Visitor = std::function<void(const Path&)>;

void walk(const Path& folder, const Visitor& visit, WalkedFolders& walked) {
    for (const std::string& name : namesInFolder(folder)) {
        const Path item = joinPath(folder, name);
        const platform::Existence existence =
            platform::services().makeFileManager()->existence(item);
        if (!existence.isDirectory)
            visit(item);
        else if (walked.enter(existence.identity))
            walk(item, visit, walked);
    }
}

} // namespace

std::vector<std::string> namesInFolder(const MaybePath& folder) {
    if (!folder) return {};
    auto listing = platform::services().makeFileManager()->contentsOfDirectory(*folder);
    return listing ? std::move(listing.value()) : std::vector<std::string>();
}

void forEachFileBelow(const Path& folder, const Visitor& visit) {
    WalkedFolders walked;
    walked.enter(platform::services().makeFileManager()->existence(folder).identity);
    walk(folder, visit, walked);
}

} // namespace quorvane
