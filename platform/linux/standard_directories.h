// The standard folders: one layout on every system, and the folders that the desktop lets its users
// choose.
#pragma once

#include <memory>

#include "platform/StandardDirectories.h"

namespace quorvane::platform {
class UserIdentity;
}

namespace quorvane::platform::linux_ {

struct StandardFolder;

/// Machine-wide folders stand below "/", the system's below "/System", the user's below the home.
/// Documents, Desktop and Movies of a user follow `user-dirs.dirs`. For the superuser these are the
/// choices of the console user, told below /var/root like the other folders.
class LinuxStandardDirectories final : public StandardDirectories {
public:
    explicit LinuxStandardDirectories(std::shared_ptr<UserIdentity> identity);

    std::vector<Path> searchPaths(DirectoryKind kind, Domain domain) override;
    std::size_t configurationString(int name, std::span<char> buffer) override;

private:
    MaybePath userFolder(const StandardFolder& folder);
    MaybePath superuserFolder(const StandardFolder& folder);

    std::shared_ptr<UserIdentity> identity_;
};

} // namespace quorvane::platform::linux_
