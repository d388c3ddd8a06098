#include "platform/linux/presentation/change_notices.h"

#include <sys/stat.h>

#include "platform/linux/percent_encoding.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {

Result<void> ChangeNotices::announce(const Path& item) {
    const Result<Path> path = systemPath(item);
    if (!path) return path.error();
    BusSignal signal{"/", "org.kde.KDirNotify", "FilesChanged",
                     "file://" + percentEncoded(path.value()), true};
    struct stat status {};
    if (::lstat(path.value().c_str(), &status) != 0) {
        signal.member = "FilesRemoved";
    } else if (S_ISDIR(status.st_mode)) {
        // Listeners read the folder anew, whether entries came or went.
        signal.member = "FilesAdded";
        signal.isArray = false;
    }
    return bus_.send(signal);
}

} // namespace quorvane::platform::linux_
