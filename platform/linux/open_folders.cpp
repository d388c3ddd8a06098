#include "platform/linux/open_folders.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <array>
#include <climits>

namespace quorvane::platform::linux_ {
namespace {

constexpr mode_t kForItsUser = 0700;

// What tells a folder, and the mount it is on.
struct Place {
    dev_t device = 0;
    std::uint64_t mount = 0;
    std::uint64_t inode = 0;
};

bool isSameMount(const Place& one, const Place& other) {
    return one.device == other.device && one.mount == other.mount;
}

bool locate(int folder, Place& place) {
    struct statx status {};
    if (::statx(folder, "", AT_EMPTY_PATH, STATX_INO | STATX_MNT_ID, &status) == -1) return false;
    // Kernels that do not know mounts apart leave their number zero.
    place = {makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_mnt_id,
             status.stx_ino};
    return true;
}

} // namespace

Descriptor openFolder(int parent, const char* name, LastLink lastLink) {
    const int noFollow = lastLink == LastLink::keep ? O_NOFOLLOW : 0;
    return Descriptor(retryInterrupted(
        [&] { return ::openat(parent, name, O_PATH | O_DIRECTORY | O_CLOEXEC | noFollow); }));
}

Descriptor openOrMakeFolder(int parent, const char* name) {
    Descriptor folder = openFolder(parent, name, LastLink::keep);
    if (folder || errno != ENOENT) return folder;
    if (::mkdirat(parent, name, kForItsUser) == -1 && errno != EEXIST) return folder;
    return openFolder(parent, name, LastLink::keep);
}

bool makeFolders(const Path& path) {
    for (auto end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const Path part = path.substr(0, end);
        struct stat status {};
        if (::stat(part.c_str(), &status) == -1 && ::mkdir(part.c_str(), kForItsUser) == -1 &&
            errno != EEXIST)
            return false;
        if (end == Path::npos) return true;
    }
}

Result<Path> pathOf(int folder) {
    const std::string link = "/proc/self/fd/" + std::to_string(folder);
    std::array<char, PATH_MAX> path{};
    const ssize_t length = ::readlink(link.c_str(), path.data(), path.size());
    if (length == -1) return systemError();
    if (path.front() != '/') return systemError(ENOENT);
    return Path(path.data(), static_cast<std::size_t>(length));
}

Descriptor topOfMount(int folder) {
    Descriptor top = openFolder(folder, ".", LastLink::keep);
    Place here;
    if (!top || !locate(top.get(), here)) return {};
    for (;;) {
        Descriptor above = openFolder(top.get(), "..", LastLink::keep);
        Place place;
        if (!above || !locate(above.get(), place)) return {};
        if (!isSameMount(here, place) || place.inode == here.inode) return top;
        top = std::move(above);
        here = place;
    }
}

} // namespace quorvane::platform::linux_
