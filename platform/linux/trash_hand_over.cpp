#include "platform/linux/trash_hand_over.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>
#include <vector>

#include "platform/linux/directory.h"
#include "platform/linux/folder_trail.h"
#include "platform/linux/open_folders.h"

namespace quorvane::platform::linux_ {
namespace {

// Names in the folder; empty where it cannot be read.
std::vector<DirectoryEntry> entriesOf(int folder) {
    const Descriptor readable(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    auto entries = readEntries(readable.get());
    return entries ? std::move(entries.value()) : std::vector<DirectoryEntry>();
}

class HandOver {
public:
    explicit HandOver(uid_t uid) : uid_(uid) {}

    void handOver(Descriptor folder);

private:
    void enter(Descriptor folder);
    bool leave();

    const uid_t uid_;
    FolderTrail trail_;
    /// What is still to be looked at in each folder on the way.
    std::vector<std::vector<DirectoryEntry>> pending_;
};

void HandOver::handOver(Descriptor folder) {
    enter(std::move(folder));
    while (!pending_.empty()) {
        std::vector<DirectoryEntry>& here = pending_.back();
        if (here.empty()) {
            if (!leave()) return;
            continue;
        }
        const std::string name = std::move(here.back().name);
        here.pop_back();
        // Opens folders only, so that it need not be known before what each entry is.
        Descriptor below = openFolder(trail_.folder(), name.c_str(), LastLink::keep);
        if (below) enter(std::move(below));
    }
}

// A folder that others may not enter keeps its owner, with all below it: files in it may rely on
// that, such as programs that run with the superuser's rights.
void HandOver::enter(Descriptor folder) {
    struct stat status {};
    if (::fstat(folder.get(), &status) == -1) return;
    if (status.st_uid != uid_ && (status.st_mode & S_IXOTH) == 0) return;
    const Result<FolderIdentity> identity = identify(folder);
    if (!identity) return;
    if (trail_.depth() > 0 && !areOnOneMount(identity.value(), trail_.identity())) return;
    pending_.push_back(entriesOf(folder.get()));
    trail_.enter(std::move(folder), identity.value());
}

// The folders below come first: as long as the user does not own a folder, nothing can be slipped
// into it behind the walk.
bool HandOver::leave() {
    struct stat status {};
    if (::fstat(trail_.folder(), &status) == 0 && status.st_uid != uid_)
        ignore(::fchownat(trail_.folder(), "", uid_, static_cast<gid_t>(-1), AT_EMPTY_PATH));
    pending_.pop_back();
    return trail_.leave().ok();
}

} // namespace

void handOverFolders(int folder, uid_t uid) {
    HandOver(uid).handOver(openFolder(folder, ".", LastLink::keep));
}

} // namespace quorvane::platform::linux_
