// Who runs the process and who sits at the console.
#pragma once

#include <string>

#include "platform/Values.h"

namespace quorvane::platform {

/// User number of the superuser.
inline constexpr unsigned kSuperuserId = 0;

/// Any thread.
class UserIdentity {
public:
    virtual ~UserIdentity() = default;

    virtual unsigned realUserId() = 0;
    /// Short name of the process's user; null when the user database has none.
    virtual MaybeText userName() = 0;
    /// Home of the process's user. An absolute home has no doubled slashes, slash at its end or "."
    /// parts, so that it can be compared with other paths.
    virtual MaybePath homeDirectory() = 0;
    /// Home of the named user, spelt in the same way; null for a null or unknown name.
    virtual MaybePath homeDirectoryForUser(const MaybeText& name) = 0;
    /// Short name of the user who owns the console: "loginwindow" while the login screen does, null
    /// when nobody does.
    virtual MaybeText consoleUser() = 0;
    /// The per-user folder for temporary files, as the platform spells it.
    virtual MaybePath temporaryDirectory() = 0;
    /// A new string at each call, unique among all processes and machines.
    virtual std::string globallyUniqueString() = 0;
};

} // namespace quorvane::platform
