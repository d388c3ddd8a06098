#include "platform/linux/authorization/socket_child.h"

#include <cerrno>
#include <csignal>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/authorization/process_shield.h"
#include "platform/linux/pidfd.h"
#include "platform/linux/reaper.h"
#include "platform/linux/spawn.h"

namespace quorvane::platform::linux_ {
namespace {

struct SocketPair {
    Descriptor own;
    Descriptor childs;
};

Result<SocketPair> makeSocketPair() {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return systemError();
    SocketPair pair{Descriptor(ends[0]), Descriptor(ends[1])};
    pair.own = aboveStandardStreams(std::move(pair.own));
    if (!pair.own) return systemError();
    pair.childs = aboveStandardStreams(std::move(pair.childs));
    if (!pair.childs) return systemError();
    return pair;
}

/// Whether there is a reaper to leave children to.
bool hasReaper() {
    try {
        Reaper::shared();
        return true;
    } catch (const Exception&) {
        return false;
    }
}

} // namespace

Result<SocketChild> SocketChild::start(const Path& program, const Arguments& arguments,
                                       const Environment& environment) {
    if (!shieldProcess()) return systemError(EPERM);
    if (!hasReaper()) return systemError(EMFILE);
    auto pair = makeSocketPair();
    if (!pair) return pair.error();
    auto process = spawn(program, arguments, environment,
                         {pair.value().childs.get(), kNullDevice, kNullDevice});
    if (!process) return process.error();
    return SocketChild(std::move(pair.value().own), std::move(process.value()));
}

SocketChild::~SocketChild() {
    if (process_) Reaper::shared().adopt(std::move(process_));
}

std::optional<int> SocketChild::waitForExit(std::chrono::milliseconds limit) {
    pollfd ended{process_.get(), POLLIN, 0};
    if (retryInterrupted([&] { return ::poll(&ended, 1, static_cast<int>(limit.count())); }) != 1)
        return std::nullopt;
    siginfo_t info{};
    if (::waitid(P_PIDFD, static_cast<id_t>(process_.get()), &info, WEXITED | WNOHANG) != 0 ||
        info.si_code != CLD_EXITED)
        return std::nullopt;
    return info.si_status;
}

bool SocketChild::isOutOfReach() const {
    const Descriptor taken(::pidfd_getfd(process_.get(), STDIN_FILENO, 0));
    return !taken && errno == EPERM;
}

void SocketChild::kill() { ::pidfd_send_signal(process_.get(), SIGKILL, nullptr, 0); }

} // namespace quorvane::platform::linux_
