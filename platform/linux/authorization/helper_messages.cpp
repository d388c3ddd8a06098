#include "platform/linux/authorization/helper_messages.h"

#include <array>
#include <cstring>

#include <sys/socket.h>

namespace quorvane::platform::linux_ {
namespace {

/// Why a send or a receive failed: the limit has passed, or the other side has gone.
Error socketError() {
    if (errno == EAGAIN) return systemError(ETIMEDOUT);
    return systemError(errno == ECONNRESET ? EPIPE : errno);
}

/// Takes over the descriptors of a message and answers the first; the others are closed.
Descriptor takeDescriptors(msghdr& message) {
    Descriptor first;
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) continue;
        const std::size_t size = part->cmsg_len - CMSG_LEN(0);
        for (std::size_t offset = 0; offset + sizeof(int) <= size; offset += sizeof(int)) {
            int value = -1;
            std::memcpy(&value, CMSG_DATA(part) + offset, sizeof value);
            Descriptor taken(value);
            if (!first) first = std::move(taken);
        }
    }
    return first;
}

} // namespace

Result<Bytes> helperRequest(std::uint32_t id, const Path& tool, const Arguments& arguments) {
    const helper::RequestHeader header{id, static_cast<std::uint32_t>(arguments.size() + 1)};
    if (arguments.size() >= helper::kMaximumTexts) return systemError(E2BIG);
    Bytes request(sizeof header, '\0');
    std::memcpy(request.data(), &header, sizeof header);
    const auto add = [&request](const std::string& text) {
        request += text;
        request += '\0';
        return text.find('\0') == std::string::npos;
    };
    bool whole = add(tool);
    for (const std::string& argument : arguments) whole = add(argument) && whole;
    if (!whole) return systemError(EINVAL);
    if (request.size() > helper::kMaximumRequest) return systemError(E2BIG);
    return request;
}

void limitWaiting(int socket, std::chrono::milliseconds limit) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit);
    const timeval time{seconds.count(), std::chrono::microseconds(limit - seconds).count()};
    for (const int option : {SO_RCVTIMEO, SO_SNDTIMEO})
        ignore(::setsockopt(socket, SOL_SOCKET, option, &time, sizeof time));
}

Result<void> sendToHelper(int socket, const Bytes& message) {
    const auto sent = retryInterrupted(
        [&] { return ::send(socket, message.data(), message.size(), MSG_NOSIGNAL); });
    if (sent < 0) return socketError();
    return {};
}

Result<ReceivedAnswer> receiveFromHelper(int socket) {
    ReceivedAnswer received{};
    iovec place{&received.answer, sizeof received.answer};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const auto count =
        retryInterrupted([&] { return ::recvmsg(socket, &message, MSG_CMSG_CLOEXEC); });
    if (count < 0) return socketError();
    received.output = takeDescriptors(message);
    if (count == 0) return systemError(EPIPE);
    if (count != sizeof received.answer || (message.msg_flags & MSG_TRUNC) != 0)
        return systemError(EPROTO);
    return received;
}

} // namespace quorvane::platform::linux_
