#include "platform/linux/authorization/granting.h"

#include <array>

#include <poll.h>

#include "platform/linux/authorization/helper_messages.h"

namespace quorvane::platform::linux_ {
namespace {

/// What the program that asks the user exits with when the user dismisses the dialog.
constexpr int kDismissed = 126;
/// How long a program that has closed its socket may take to exit.
constexpr std::chrono::seconds kExitLimit{5};

/// Waits for a word or the end of the helper. False when the watch comes to its end before, or the
/// limit is reached.
bool hearsFrom(const SocketChild& helper, const PolkitWatch* watch,
               std::chrono::milliseconds limit) {
    std::array<pollfd, 2> ends{
        {{helper.socket(), POLLIN, 0}, {watch == nullptr ? -1 : watch->socket(), POLLIN, 0}}};
    const int timeout = static_cast<int>(limit.count());
    retryInterrupted([&] { return ::poll(ends.data(), ends.size(), timeout); });
    return ends[0].revents != 0;
}

/// Ends what was to become the helper. Where it has become it at this very moment, it has the
/// superuser's rights and cannot be killed, but ends because its client has hung up.
void giveUp(SocketChild& helper) {
    helper.releaseSocket();
    helper.kill();
    helper.waitForExit(kExitLimit);
}

} // namespace

std::optional<PolkitWatch> PolkitWatch::start(const Path& program,
                                              std::chrono::milliseconds patience) {
    auto child = startAgentProgram(program, {"--watch"}, patience);
    if (!child) return std::nullopt;
    return PolkitWatch(std::move(*child));
}

AuthorizationStatus waitUntilGranted(SocketChild& helper, const PolkitWatch* watch,
                                     std::chrono::milliseconds limit) {
    if (!hearsFrom(helper, watch, limit)) {
        giveUp(helper);
        return kAuthorizationInternal;
    }
    const auto first = receiveFromHelper(helper.socket());
    if (first)
        return first.value().answer.kind == helper::AnswerKind::granted ? kAuthorizationSuccess
                                                                        : kAuthorizationDenied;
    return helper.waitForExit(kExitLimit) == kDismissed ? kAuthorizationCanceled
                                                        : kAuthorizationDenied;
}

} // namespace quorvane::platform::linux_
