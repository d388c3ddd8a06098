#include "platform/linux/privileged_helper/tree_search.h"

#include <fcntl.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/linux/directory.h"
#include "platform/linux/folder_trail.h"

namespace quorvane::platform::linux_::helper {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

class TreeSearch {
public:
    explicit TreeSearch(const ItemTest& test) : test_(test) {}

    bool finds(const ItemPlace& item);

private:
    bool meet(const std::string& name);
    bool enter(const std::string& name);

    const ItemTest& test_;
    FolderTrail trail_;
    /// What is still to be looked at in each folder on the way.
    std::vector<std::vector<DirectoryEntry>> pending_;
};

bool TreeSearch::finds(const ItemPlace& item) {
    Descriptor folder = duplicate(item.folder);
    const Result<FolderIdentity> identity = identify(folder);
    if (!identity) return true;
    trail_.enter(std::move(folder), identity.value());
    pending_.push_back({{item.name, false}});
    while (!pending_.empty()) {
        if (pending_.back().empty()) {
            pending_.pop_back();
            if (!trail_.leave()) return true;
            continue;
        }
        const std::string name = std::move(pending_.back().back().name);
        pending_.back().pop_back();
        if (meet(name)) return true;
    }
    return false;
}

bool TreeSearch::meet(const std::string& name) {
    struct stat status {};
    if (fstatat(trail_.folder(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno != ENOENT;
    return test_(trail_.folder(), name.c_str(), status) || (S_ISDIR(status.st_mode) && enter(name));
}

/// Whether the folder cannot be looked into.
bool TreeSearch::enter(const std::string& name) {
    Descriptor folder(
        retryInterrupted([&] { return openat(trail_.folder(), name.c_str(), kFolderFlags); }));
    if (!folder) return errno != ENOENT;
    const Result<FolderIdentity> identity = identify(folder);
    if (!identity) return true;
    Result<std::vector<DirectoryEntry>> entries = readEntries(folder.get());
    if (!entries) return true;
    trail_.enter(std::move(folder), identity.value());
    pending_.push_back(std::move(entries.value()));
    return false;
}

} // namespace

bool holdsAny(const ItemPlace& item, const ItemTest& test) { return TreeSearch(test).finds(item); }

} // namespace quorvane::platform::linux_::helper
