// The authorization service on Linux.
#pragma once

#include <memory>

#include "platform/Authorization.h"
#include "platform/linux/authorization/credential_agent.h"

namespace quorvane::platform {
class UserIdentity;
}

namespace quorvane::platform::linux_ {

/// The programs that the service starts.
struct AuthorizationPrograms {
    Path pkexec;        ///< asks the user, or the password agent, and becomes the helper
    Path helper;        ///< runs tools with administrator rights
    Path passwordAgent; ///< answers for a user whose password the caller knows
    /// Whether the running agent is trusted with the password. Tests, whose agents are scripts,
    /// have a test of their own.
    AgentTest agentTest = keepsSecrets;
};

/// The programs as they are installed.
AuthorizationPrograms installedPrograms();

/// The right is what polkit grants the privileged helper; each reference with the right has a
/// helper of its own. No operation throws: what cannot be started counts as denied. Once a right
/// has been asked for, no other process of the user can look into this one.
std::shared_ptr<Authorization>
makeAuthorization(std::shared_ptr<UserIdentity> identity,
                  AuthorizationPrograms programs = installedPrograms());

} // namespace quorvane::platform::linux_
