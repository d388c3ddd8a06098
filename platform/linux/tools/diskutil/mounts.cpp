#include "platform/linux/tools/diskutil/mounts.h"

#include <functional>
#include <memory>

#include <fcntl.h>
#include <libmount/libmount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace quorvane::platform::linux_::tools::diskutil {
namespace {

struct Free {
    void operator()(libmnt_table* table) const { mnt_unref_table(table); }
    void operator()(libmnt_iter* position) const { mnt_free_iter(position); }
};

std::string textOf(const char* text) { return text == nullptr ? "" : text; }

/// The mount's block device. File systems of several devices have a number of their own, which no
/// device has, and name one of their devices as the source.
dev_t deviceOf(libmnt_fs* mount) {
    const dev_t number = mnt_fs_get_devno(mount);
    if (major(number) != 0) return number;
    struct stat status {};
    const std::string source = textOf(mnt_fs_get_srcpath(mount));
    if (!source.starts_with('/') || ::stat(source.c_str(), &status) != 0) return 0;
    return S_ISBLK(status.st_mode) ? status.st_rdev : 0;
}

std::optional<Mount> firstMount(const Path& file, const std::function<bool(libmnt_fs*)>& matches) {
    const std::unique_ptr<libmnt_table, Free> table(mnt_new_table_from_file(file.c_str()));
    const std::unique_ptr<libmnt_iter, Free> position(mnt_new_iter(MNT_ITER_FORWARD));
    if (!table || !position) return std::nullopt;
    libmnt_fs* mount = nullptr;
    while (mnt_table_next_fs(table.get(), position.get(), &mount) == 0) {
        if (!matches(mount)) continue;
        return Mount{textOf(mnt_fs_get_target(mount)), textOf(mnt_fs_get_fstype(mount)),
                     deviceOf(mount)};
    }
    return std::nullopt;
}

} // namespace

std::optional<Mount> mountOfItem(const Path& item, const Path& table) {
    struct statx status {};
    if (::statx(AT_FDCWD, item.c_str(), 0, STATX_MNT_ID, &status) != 0) return std::nullopt;
    return firstMount(table, [&](libmnt_fs* mount) {
        return static_cast<std::uint64_t>(mnt_fs_get_id(mount)) == status.stx_mnt_id;
    });
}

std::optional<Mount> mountOfDevice(dev_t device, const Path& table) {
    return firstMount(table, [&](libmnt_fs* mount) { return deviceOf(mount) == device; });
}

} // namespace quorvane::platform::linux_::tools::diskutil
