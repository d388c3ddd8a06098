#include "platform/linux/trash_hand_over.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string_view>

#include "platform/linux/open_folders.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr int kMaxDepth = 200;

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

Directory listing(int folder) {
    Descriptor readable(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!readable) return nullptr;
    Directory directory(::fdopendir(readable.get()));
    if (directory) readable.release();
    return directory;
}

bool mayBeFolder(const dirent& entry) {
    const std::string_view name = entry.d_name;
    return (entry.d_type == DT_DIR || entry.d_type == DT_UNKNOWN) && name != "." && name != "..";
}

// The folders below come first: as long as the user does not own a folder, nothing can be slipped
// into it behind the walk.
void handOver(int folder, uid_t uid, dev_t device, int depth) {
    struct stat status {};
    if (depth == kMaxDepth || ::fstat(folder, &status) == -1 || status.st_dev != device) return;
    if (const Directory directory = listing(folder))
        while (const dirent* entry = ::readdir(directory.get())) {
            if (!mayBeFolder(*entry)) continue;
            const Descriptor below = openFolder(folder, entry->d_name, LastLink::keep);
            if (below) handOver(below.get(), uid, device, depth + 1);
        }
    if (status.st_uid != uid)
        (void)::fchownat(folder, "", uid, static_cast<gid_t>(-1), AT_EMPTY_PATH);
}

} // namespace

void handOverFolders(int folder, uid_t uid) {
    struct stat status {};
    if (::fstat(folder, &status) == 0) handOver(folder, uid, status.st_dev, 0);
}

} // namespace quorvane::platform::linux_
