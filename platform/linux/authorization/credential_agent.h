// Answers for a user whose password the caller knows.
#pragma once

#include <chrono>
#include <string>

#include "platform/Authorization.h"
#include "platform/linux/authorization/agent_program.h"
#include "platform/linux/authorization/socket_child.h"

namespace quorvane::platform::linux_ {

/// The longest user name and password, in bytes.
inline constexpr std::size_t kMaximumCredential = 2000;

/// Tells whether a running agent may be trusted with a password.
using AgentTest = bool (*)(const Path& program, const SocketChild& agent);

/// Whether an agent may be told a password: nobody but the superuser can have put another program
/// in its place, and no process of the same user has been able to look into it since it was
/// started. The superuser's own processes are safe from other users as they are.
bool keepsSecrets(const Path& program, const SocketChild& agent);

/// A running password agent: as long as this lives, it answers in the user's place whatever is
/// asked about this process. One thread at a time.
class CredentialAgent {
public:
    /// What came of a start: an agent only with success.
    struct Start;

    /// Starts the agent program and hands it the credentials. kAuthorizationDenied for what can be
    /// nobody's credentials, kAuthorizationInternal for an agent that does not get ready or does
    /// not pass the test.
    static Start start(const Path& program, const std::string& user, const std::string& password,
                       AgentTest test = keepsSecrets,
                       std::chrono::milliseconds patience = kAgentPatience);

private:
    explicit CredentialAgent(SocketChild child) : child_(std::move(child)) {}

    SocketChild child_;
};

struct CredentialAgent::Start {
    AuthorizationStatus status;
    std::optional<CredentialAgent> agent;
};

} // namespace quorvane::platform::linux_
