#include "platform/linux/superusers_places.h"

#include <fcntl.h>

#include "platform/UserIdentity.h"
#include "platform/linux/open_folders.h"
#include "platform/linux/plain_path.h"

namespace quorvane::platform::linux_ {
namespace {

bool nobodyElseChanges(const Descriptor& folder) {
    struct stat status {};
    return folder && ::fstat(folder.get(), &status) == 0 && isSuperusersAlone(status);
}

} // namespace

bool isSuperusersAlone(const struct stat& folder) {
    return S_ISDIR(folder.st_mode) && folder.st_uid == kSuperuserId &&
           (folder.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool isSuperusersPlace(const Path& path) {
    if (!isPlain(path) || !systemPath(path)) return false;
    std::vector<std::string> parts = pathParts(path);
    if (parts.empty()) return false;
    parts.pop_back();
    Descriptor folder = openFolder(AT_FDCWD, "/", LastLink::keep);
    for (const std::string& part : parts) {
        // Once it is known that nobody else can change a folder, what is opened in it stays there.
        if (!nobodyElseChanges(folder)) return false;
        folder = openFolder(folder.get(), part.c_str(), LastLink::keep);
    }
    return nobodyElseChanges(folder);
}

} // namespace quorvane::platform::linux_
