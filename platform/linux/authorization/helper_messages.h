// The messages between a client and its privileged helper, as they go over the socket.
#pragma once

#include <chrono>
#include <cstdint>

#include "platform/Values.h"
#include "platform/linux/posix.h"
#include "platform/linux/privileged_helper/protocol.h"

namespace quorvane::platform::linux_ {

/// A request for a tool. E2BIG when it is longer, or has more texts, than the helper takes; EINVAL
/// when a text holds a NUL byte, which would end it early.
Result<Bytes> helperRequest(std::uint32_t id, const Path& tool, const Arguments& arguments);

/// How long each later send and receive waits at most.
void limitWaiting(int socket, std::chrono::milliseconds limit);

/// Sends one message. ETIMEDOUT when the helper does not take it in time, EPIPE when it has gone.
Result<void> sendToHelper(int socket, const Bytes& message);

/// An answer, with the reading end of the tool's output if one came along.
struct ReceivedAnswer {
    helper::Answer answer;
    Descriptor output;
};

/// Receives one answer. ETIMEDOUT when none comes in time, EPIPE when the helper has gone, EPROTO
/// for what is no answer. Whatever descriptors come are held or closed.
Result<ReceivedAnswer> receiveFromHelper(int socket);

} // namespace quorvane::platform::linux_
