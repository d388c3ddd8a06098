// The message bus of the user's desktop session, as far as sending signals takes it.
#pragma once

#include <cstdint>
#include <mutex>

#include "platform/linux/posix.h"
#include "platform/linux/presentation/bus_message.h"

namespace quorvane::platform::linux_ {

/// A connection that is made with the first signal and made anew when the bus has left. Without a
/// session nothing is sent and nothing started. Any thread.
class SessionBus {
public:
    SessionBus() = default;
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;
    /// Gives the bus up to 0.1 s to take what was sent: it drops what a client that has gone had
    /// not yet been welcomed to send.
    ~SessionBus();

    /// Sends a signal without ever waiting: what a bus does not take at once is lost.
    Result<void> send(const BusSignal& signal);

private:
    bool isConnected();
    Result<void> connect();

    std::mutex mutex_;
    Descriptor socket_;
    std::uint32_t lastSerial_ = 0;
};

} // namespace quorvane::platform::linux_
