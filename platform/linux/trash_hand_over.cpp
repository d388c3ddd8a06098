#include "platform/linux/trash_hand_over.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>
#include <vector>

#include "platform/linux/directory.h"
#include "platform/linux/open_folders.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr int kMaxDepth = 200;

// Names in the folder; empty where it cannot be read.
std::vector<DirectoryEntry> entriesOf(int folder) {
    const Descriptor readable(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    auto entries = readEntries(readable.get());
    return entries ? std::move(entries.value()) : std::vector<DirectoryEntry>();
}

// The folders below come first: as long as the user does not own a folder, nothing can be slipped
// into it behind the walk.
void handOver(int folder, uid_t uid, dev_t device, int depth) {
    struct stat status {};
    if (depth == kMaxDepth || ::fstat(folder, &status) == -1 || status.st_dev != device) return;
    for (const DirectoryEntry& entry : entriesOf(folder)) {
        // Opens folders only, so that it need not be known before what each entry is.
        const Descriptor below = openFolder(folder, entry.name.c_str(), LastLink::keep);
        if (below) handOver(below.get(), uid, device, depth + 1);
    }
    if (status.st_uid != uid)
        ignore(::fchownat(folder, "", uid, static_cast<gid_t>(-1), AT_EMPTY_PATH));
}

} // namespace

void handOverFolders(int folder, uid_t uid) {
    struct stat status {};
    if (::fstat(folder, &status) == 0) handOver(folder, uid, status.st_dev, 0);
}

} // namespace quorvane::platform::linux_
