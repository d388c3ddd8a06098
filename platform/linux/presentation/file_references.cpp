#include "platform/linux/presentation/file_references.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <memory>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

struct CloseListing {
    void operator()(DIR* listing) const { ::closedir(listing); }
};

/// Tells the item from others that had or will have its number, by the time at which it was made.
Result<FileReference> referenceIn(int folder, const char* name) {
    struct statx status {};
    const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
    if (::statx(folder, name, flags, STATX_INO | STATX_BTIME, &status) != 0) return systemError();
    FileReference reference;
    reference.identity = {::makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_ino};
    if ((status.stx_mask & STATX_BTIME) != 0)
        reference.made = FileTime(std::chrono::seconds(status.stx_btime.tv_sec) +
                                  std::chrono::nanoseconds(status.stx_btime.tv_nsec));
    return reference;
}

bool isItem(const Result<FileReference>& found, const FileReference& reference) {
    return found && found.value().identity == reference.identity &&
           found.value().made == reference.made;
}

MaybePath renamedItem(const FileReference& reference) {
    const Path folder = reference.path.substr(0, reference.path.rfind('/') + 1);
    const std::unique_ptr<DIR, CloseListing> listing(::opendir(folder.c_str()));
    if (!listing) return std::nullopt;
    while (const dirent* entry = ::readdir(listing.get()))
        if (entry->d_ino == reference.identity.node &&
            isItem(referenceIn(::dirfd(listing.get()), entry->d_name), reference))
            return folder + entry->d_name;
    return std::nullopt;
}

} // namespace

Result<FileReference> makeFileReference(const Path& path) {
    const Result<Path> plain = systemPath(path);
    if (!plain) return plain.error();
    Result<FileReference> reference = referenceIn(AT_FDCWD, plain.value().c_str());
    if (reference) reference.value().path = plain.value();
    return reference;
}

Result<Path> pathOfReference(const FileReference& reference) {
    if (reference.path.empty()) return systemError(ENOENT);
    const Result<FileReference> there = referenceIn(AT_FDCWD, reference.path.c_str());
    if (isItem(there, reference)) return reference.path;
    if (auto renamed = renamedItem(reference)) return *renamed;
    if (!there) return there.error();
    return reference.path;
}

} // namespace quorvane::platform::linux_
