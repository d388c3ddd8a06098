#include "platform/linux/privileged_helper/peer.h"

#include <array>
#include <cstring>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_::helper {
namespace {

/// Ancillary data of one kind. Nothing more than one of it fits.
template <class Content>
struct Ancillary {
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(Content))> bytes{};
};

bool hasType(int socket, int type) {
    int actual = 0;
    socklen_t size = sizeof actual;
    return ::getsockopt(socket, SOL_SOCKET, SO_TYPE, &actual, &size) == 0 && actual == type;
}

/// The kernel's word on who sent a message; no process has the id 0.
ucred senderOf(msghdr& message) {
    ucred sender{};
    const cmsghdr* header = CMSG_FIRSTHDR(&message);
    if (header != nullptr && header->cmsg_level == SOL_SOCKET &&
        header->cmsg_type == SCM_CREDENTIALS && header->cmsg_len == CMSG_LEN(sizeof sender))
        std::memcpy(&sender, CMSG_DATA(header), sizeof sender);
    return sender;
}

} // namespace

Peer::Peer(int socket) : socket_(socket) {
    const int on = 1;
    socklen_t size = sizeof credentials_;
    isUsable_ = hasType(socket, SOCK_SEQPACKET) &&
                ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials_, &size) == 0 &&
                credentials_.pid > 0 &&
                ::setsockopt(socket, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) == 0;
}

bool Peer::belongsTo(uid_t user) const { return isUsable_ && credentials_.uid == user; }

Received Peer::receive(std::span<char> buffer) const {
    // Descriptors that come along find no room here: the kernel closes them and says so.
    Ancillary<ucred> ancillary;
    iovec data{buffer.data(), buffer.size()};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = ancillary.bytes.data();
    message.msg_controllen = ancillary.bytes.size();
    const ssize_t size =
        retryInterrupted([&] { return ::recvmsg(socket_, &message, MSG_CMSG_CLOEXEC); });
    Received received;
    if (size <= 0) return received;
    const ucred sender = senderOf(message);
    const bool isPeer = sender.pid == credentials_.pid && sender.uid == credentials_.uid;
    received.kind = isPeer ? Received::Kind::message : Received::Kind::stranger;
    received.size = static_cast<std::size_t>(size);
    if ((message.msg_flags & MSG_CTRUNC) != 0) received.error = EBADMSG;
    if ((message.msg_flags & MSG_TRUNC) != 0) received.error = EMSGSIZE;
    return received;
}

bool Peer::send(std::span<const char> answer, int descriptor) const {
    Ancillary<int> ancillary;
    iovec data{const_cast<char*>(answer.data()), answer.size()}; // is only read
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    if (descriptor != -1) {
        message.msg_control = ancillary.bytes.data();
        message.msg_controllen = ancillary.bytes.size();
        cmsghdr* header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    }
    return retryInterrupted([&] { return ::sendmsg(socket_, &message, MSG_NOSIGNAL); }) ==
           static_cast<ssize_t>(answer.size());
}

} // namespace quorvane::platform::linux_::helper
