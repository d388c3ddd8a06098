// The one process that the helper serves.
#pragma once

#include <sys/socket.h>

#include <span>

namespace quorvane::platform::linux_::helper {

struct Received {
    enum class Kind { message, hungUp, stranger };
    Kind kind = Kind::hungUp;
    std::size_t size = 0;
    int error = 0; ///< EMSGSIZE: cut off; EBADMSG: descriptors came along, which are closed
};

/// The process that made the socket, and its user. Another process that gets hold of the socket is
/// told from it by the kernel's own word with each message.
class Peer {
public:
    explicit Peer(int socket);

    /// Whether the socket is of the right kind and the peer the user's.
    bool belongsTo(uid_t user) const;
    /// Waits for the next message.
    Received receive(std::span<char> buffer) const;
    /// Sends an answer, and the descriptor if it is none of -1. False when the peer has gone.
    bool send(std::span<const char> answer, int descriptor) const;

private:
    int socket_;
    bool isUsable_ = false;
    ucred credentials_{};
};

} // namespace quorvane::platform::linux_::helper
