// The other side of a session: a helper without rights that answers as the test says.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/posix.h"
#include "platform/linux/privileged_helper/protocol.h"

namespace quorvane::testing {

/// Both ends of a pipe, closed in children.
struct TestPipe {
    TestPipe();
    void write(std::string_view text) const;

    platform::linux_::Descriptor reading;
    platform::linux_::Descriptor writing;
};

/// The number of this process's open descriptors.
std::size_t openDescriptors();

class FakeHelper {
public:
    using Kind = platform::linux_::helper::AnswerKind;
    struct Request {
        std::uint32_t id = 0;
        std::uint32_t textCount = 0;
        std::vector<std::string> texts;
    };

    FakeHelper();
    /// Waits until the client has gone.
    ~FakeHelper();
    FakeHelper(const FakeHelper&) = delete;
    FakeHelper& operator=(const FakeHelper&) = delete;

    /// The client's end, for the client to keep.
    platform::linux_::Descriptor takeClientEnd() { return std::move(clientEnd_); }

    /// Handles every request on a thread of its own until the client has gone or the helper is
    /// closed.
    void serve(std::function<void(const Request&)> handle);
    /// Answers, with descriptors of this process.
    void answer(std::uint32_t id, Kind kind, std::int32_t value = 0,
                const std::vector<int>& descriptors = {}) const;
    /// Sends a message of any kind.
    void send(std::string_view message, const std::vector<int>& descriptors = {}) const;
    /// The helper goes.
    void close() { socket_.reset(); }

private:
    std::optional<Request> receive() const;

    platform::linux_::Descriptor clientEnd_;
    platform::linux_::Descriptor socket_;
    std::thread thread_;
};

} // namespace quorvane::testing
