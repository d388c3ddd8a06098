// Waiting for the right to be granted, by a system that may fail meanwhile.
#pragma once

#include <chrono>
#include <optional>
#include <utility>

#include "platform/Authorization.h"
#include "platform/linux/authorization/agent_program.h"

namespace quorvane::platform::linux_ {

/// Sees every few seconds whether polkit answers. What waits for one that does not would wait for
/// ever. One thread at a time.
class PolkitWatch {
public:
    /// Starts the agent program as a watch; null where polkit does not answer now.
    static std::optional<PolkitWatch> start(const Path& program,
                                            std::chrono::milliseconds patience = kAgentPatience);

    PolkitWatch(PolkitWatch&&) = default;
    PolkitWatch& operator=(PolkitWatch&&) = delete;
    PolkitWatch(const PolkitWatch&) = delete;
    PolkitWatch& operator=(const PolkitWatch&) = delete;
    ~PolkitWatch() { child_.kill(); }

    /// Has the end of file once polkit no longer answers.
    int socket() const { return child_.socket(); }

private:
    explicit PolkitWatch(SocketChild child) : child_(std::move(child)) {}

    SocketChild child_;
};

/// How long a user may take to answer.
constexpr std::chrono::milliseconds kNoLimit{-1};

/// Waits, as long as the user takes to answer, until the helper says that the right is granted:
/// success, kAuthorizationCanceled when the user has dismissed the dialog, else
/// kAuthorizationDenied. With a watch, waits no longer than polkit answers:
/// kAuthorizationInternal, and what was to become the helper is ended. So it is at the limit.
AuthorizationStatus waitUntilGranted(SocketChild& helper, const PolkitWatch* watch = nullptr,
                                     std::chrono::milliseconds limit = kNoLimit);

} // namespace quorvane::platform::linux_
