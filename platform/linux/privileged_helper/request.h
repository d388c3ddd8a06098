// A request as it comes from the client, read where it lies.
#pragma once

#include <array>
#include <span>

#include "platform/linux/privileged_helper/protocol.h"

namespace quorvane::platform::linux_::helper {

struct Request {
    std::uint32_t id = 0; ///< 0 where the message is too short to have one
    int error = 0;        ///< why the message is no request; 0 if it is one
    std::uint32_t count = 0;
    std::array<const char*, kMaximumTexts> texts{}; ///< each ended by NUL, in the message
};

/// Reads a message. Nothing in it is believed: EBADMSG unless it is exactly a header and as many
/// texts as that says, E2BIG for more of them than any request has.
Request parseRequest(std::span<const char> message);

} // namespace quorvane::platform::linux_::helper
