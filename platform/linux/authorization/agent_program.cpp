#include "platform/linux/authorization/agent_program.h"

#include <utility>

#include <poll.h>
#include <sys/socket.h>

namespace quorvane::platform::linux_ {
namespace {

constexpr char kReady = 'R';

/// Nothing of the user's: a variable of theirs could lead the agent to another bus, where somebody
/// passes for polkit, or to other code.
Environment agentEnvironment() { return {{"PATH", kTrustedPath}}; }

bool becomesReady(int socket, std::chrono::milliseconds patience) {
    pollfd said{socket, POLLIN, 0};
    if (retryInterrupted([&] { return ::poll(&said, 1, static_cast<int>(patience.count())); }) != 1)
        return false;
    char word = 0;
    return ::recv(socket, &word, 1, MSG_DONTWAIT) == 1 && word == kReady;
}

} // namespace

std::optional<SocketChild> startAgentProgram(const Path& program, const Arguments& arguments,
                                             std::chrono::milliseconds patience) {
    auto child = SocketChild::start(program, arguments, agentEnvironment());
    if (!child) return std::nullopt;
    if (becomesReady(child.value().socket(), patience)) return std::move(child.value());
    child.value().kill();
    return std::nullopt;
}

} // namespace quorvane::platform::linux_
