#include "platform/linux/privileged_helper/merging.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/directory.h"
#include "platform/linux/file_moving.h"
#include "platform/linux/folder_trail.h"

namespace quorvane::platform::linux_::helper {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

class FolderMerge {
public:
    bool merge(const ItemPlace& source, const ItemPlace& destination);

private:
    bool enter(int from, const char* name, int into, const char* as);
    bool leave();
    bool move(const std::string& name);
    bool isFolder(const std::string& name) const;

    FolderTrail sources_;
    FolderTrail destinations_;
    /// What is still to be moved in each folder on the way.
    std::vector<std::vector<DirectoryEntry>> pending_;
};

bool FolderMerge::merge(const ItemPlace& source, const ItemPlace& destination) {
    bool isWhole = enter(source.folder.get(), source.name.c_str(), destination.folder.get(),
                         destination.name.c_str());
    while (!pending_.empty()) {
        if (pending_.back().empty()) {
            if (!leave()) return false;
            continue;
        }
        const std::string name = std::move(pending_.back().back().name);
        pending_.back().pop_back();
        if (!move(name)) isWhole = false;
    }
    return isWhole;
}

bool FolderMerge::enter(int from, const char* name, int into, const char* as) {
    Descriptor source(retryInterrupted([&] { return openat(from, name, kFolderFlags); }));
    Descriptor destination(retryInterrupted([&] { return openat(into, as, kFolderFlags); }));
    if (!source || !destination) return false;
    const Result<FolderIdentity> one = identify(source);
    const Result<FolderIdentity> other = identify(destination);
    Result<std::vector<DirectoryEntry>> entries = readEntries(source.get());
    if (!one || !other || !entries) return false;
    sources_.enter(std::move(source), one.value());
    destinations_.enter(std::move(destination), other.value());
    pending_.push_back(std::move(entries.value()));
    return true;
}

bool FolderMerge::leave() {
    pending_.pop_back();
    return sources_.leave() && destinations_.leave();
}

/// A folder takes its place only where nothing is: a rename would replace an empty one.
bool FolderMerge::move(const std::string& name) {
    const int from = sources_.folder();
    const int into = destinations_.folder();
    if (!isFolder(name)) return renameat(from, name.c_str(), into, name.c_str()) == 0;
    const Result<void> moved = renameItem({duplicate(from), name}, {duplicate(into), name});
    if (moved) return true;
    return moved.error().code == EEXIST && enter(from, name.c_str(), into, name.c_str());
}

bool FolderMerge::isFolder(const std::string& name) const {
    struct stat status {};
    return fstatat(sources_.folder(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(status.st_mode);
}

} // namespace

bool mergeFolder(const ItemPlace& source, const ItemPlace& destination) {
    return FolderMerge().merge(source, destination);
}

} // namespace quorvane::platform::linux_::helper
