// What a client and its privileged helper say to each other: one message each way for each tool,
// over a SOCK_SEQPACKET socket that only the two of them hold.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quorvane::platform::linux_::helper {

/// How a request begins. After it come its texts, each ended by a NUL byte and nothing else: the
/// tool's path, then its arguments.
struct RequestHeader {
    std::uint32_t id;        ///< the client's own number for it; the answer bears it
    std::uint32_t textCount; ///< 1 to kMaximumTexts
};

/// The most texts in a request: a copy's tool, three options and two paths.
inline constexpr std::uint32_t kMaximumTexts = 6;
/// The most bytes in a request: two paths of PATH_MAX bytes, and room for the tool and its options.
inline constexpr std::size_t kMaximumRequest = 8448;

enum class AnswerKind : std::uint32_t {
    granted, ///< first message of all, id 0: the user has authenticated, requests may come
    started, ///< the tool runs; the reading end of its output comes along
    ended,   ///< the tool has ended already; the reading end comes along if there is output
    refused, ///< no tool was started
};

struct Answer {
    std::uint32_t id;
    AnswerKind kind;
    /// ended: the exit status, or 128 and the number of the signal that ended it; refused: the
    /// error number of the reason.
    std::int32_t value;
};

/// How long the helper waits for a tool to end before it answers that it has started: in that time
/// any move on one volume is done, so that whoever asked for it finds it done. Milliseconds.
inline constexpr int kPatience = 10;

} // namespace quorvane::platform::linux_::helper
