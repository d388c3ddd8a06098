// A child that talks with this process over a socket of their own.
#pragma once

#include <chrono>
#include <optional>
#include <utility>

#include "platform/Values.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {

/// The PATH of programs that deal with administrator rights, whatever the user's own is.
inline constexpr const char* kTrustedPath = "/usr/sbin:/usr/bin:/sbin:/bin";

/// The socket keeps messages apart (SOCK_SEQPACKET); the child has its end as standard input, and
/// the null device as the other streams. Letting go closes the socket, which tells the child to
/// end, and leaves the child to the reaper. One thread at a time.
class SocketChild {
public:
    /// Starts the child, with this process shielded so that no other can take the socket; EPERM
    /// where that cannot be.
    static Result<SocketChild> start(const Path& program, const Arguments& arguments,
                                     const Environment& environment);

    SocketChild(SocketChild&&) = default;
    SocketChild& operator=(SocketChild&&) = delete;
    SocketChild(const SocketChild&) = delete;
    SocketChild& operator=(const SocketChild&) = delete;
    ~SocketChild();

    int socket() const { return socket_.get(); }
    /// Gives this process's end to the caller.
    Descriptor releaseSocket() { return std::move(socket_); }
    /// Waits for the child to end, up to the limit; its exit status, or null when it runs on or a
    /// signal ended it.
    std::optional<int> waitForExit(std::chrono::milliseconds limit);
    /// Whether the system keeps this process, and so any other of the same user without more
    /// rights, from looking into the child.
    bool isOutOfReach() const;
    /// Ends a child that does not do its part (SIGKILL).
    void kill();

private:
    SocketChild(Descriptor socket, Descriptor process)
        : socket_(std::move(socket)), process_(std::move(process)) {}

    Descriptor socket_;
    Descriptor process_;
};

} // namespace quorvane::platform::linux_
