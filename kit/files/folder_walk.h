// Walking everything below a folder, links to folders included, without going round in circles.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/FileManager.h"

namespace quorvane {

/// The entries' names of one level; none for a folder that cannot be listed.
std::vector<std::string> namesInFolder(const MaybePath& folder);

/// Calls the visitor with the path of everything below the folder that is no folder itself, depth
/// first, in the order of the listings. Each folder is walked once, by whichever path leads there
/// first, so that links back into the tree neither loop nor multiply.
void forEachFileBelow(const Path& folder, const std::function<void(const Path&)>& visit);

/// What is known of each folder of a walk, whatever paths lead to it. Values stay where they are.
struct FolderHash {
    std::size_t operator()(const platform::FileIdentity& folder) const {
        return std::hash<std::uint64_t>()(folder.node ^ (folder.volume << 48U));
    }
};
template <class Value>
using FolderMap = std::unordered_map<platform::FileIdentity, Value, FolderHash>;

/// Folders already walked.
class WalkedFolders {
public:
    /// Notes a folder; false when it was noted before.
    bool enter(const platform::FileIdentity& folder) { return seen_.insert(folder).second; }

private:
    std::set<platform::FileIdentity> seen_;
};

} // namespace quorvane
