#include "platform/linux/folder_trail.h"

#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace quorvane::platform::linux_ {
namespace {

/// How many folders stay open, aside from those that hold a link on the way.
constexpr std::size_t kMostOpen = 32;

} // namespace

Result<FolderIdentity> identify(const Descriptor& folder) {
    struct statx status {};
    if (statx(folder.get(), "", AT_EMPTY_PATH, STATX_INO | STATX_MNT_ID, &status) != 0)
        return systemError();
    const bool tellsMount = (status.stx_mask & STATX_MNT_ID) != 0;
    return FolderIdentity{makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_ino,
                          tellsMount ? status.stx_mnt_id : 0};
}

bool areOneFolder(const FolderIdentity& one, const FolderIdentity& other) {
    return one.device == other.device && one.inode == other.inode;
}

bool areOnOneMount(const FolderIdentity& one, const FolderIdentity& other) {
    return one.mount == other.mount && (one.mount != 0 || one.device == other.device);
}

void FolderTrail::enter(Descriptor folder, const FolderIdentity& identity, By by) {
    if (levels_.size() >= kMostOpen) {
        const std::size_t distant = levels_.size() - kMostOpen;
        if (levels_[distant + 1].by == By::name) levels_[distant].folder.reset();
    }
    if (by == By::link) ++links_;
    levels_.push_back({std::move(folder), identity, by});
}

Result<void> FolderTrail::leave() {
    const Level left = std::move(levels_.back());
    levels_.pop_back();
    if (left.by == By::link) --links_;
    if (levels_.empty() || levels_.back().folder) return {};
    Level& above = levels_.back();
    above.folder = Descriptor(retryInterrupted(
        [&] { return openat(left.folder.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC); }));
    if (!above.folder) return systemError();
    const Result<FolderIdentity> identity = identify(above.folder);
    if (!identity) return identity.error();
    if (identity.value() != above.identity) return systemError(ESTALE);
    return {};
}

} // namespace quorvane::platform::linux_
