// The user of the process and of the console, from the user database, the environment and the login
// records.
#pragma once

#include "platform/UserIdentity.h"

namespace quorvane::platform::linux_ {

/// The home is `$HOME` and the temporary folder `$TMPDIR`, where those are absolute; else the user
/// database's entry and "/tmp".
class LinuxUserIdentity final : public UserIdentity {
public:
    unsigned realUserId() override;
    MaybeText userName() override;
    MaybePath homeDirectory() override;
    MaybePath homeDirectoryForUser(const MaybeText& name) override;
    MaybeText consoleUser() override;
    MaybePath temporaryDirectory() override;
    std::string globallyUniqueString() override;
};

} // namespace quorvane::platform::linux_
