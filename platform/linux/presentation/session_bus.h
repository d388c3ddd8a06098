// The message bus of the user's desktop session, as far as sending signals takes it.
#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <memory>
#include <mutex>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// A signal from an object to whoever listens. Its one argument is a text in UTF-8 without NUL, or
/// an array that holds this text.
struct BusSignal {
    std::string object;
    std::string interface;
    std::string member;
    std::string text;
    bool isArray = false;
};

/// A connection that is made with the first signal, and made anew when the bus has left or in
/// another process. Without a session nothing is sent and nothing started. Any thread.
class SessionBus {
public:
    /// A bus that hung is left alone for this pause.
    explicit SessionBus(std::chrono::milliseconds pause = std::chrono::seconds(30))
        : pause_(pause) {}

    /// Sends a signal, which the bus has when this succeeds; waits for no listener. A bus that
    /// hangs takes 0.1 s, and ETIMEDOUT is the answer from then on until the pause is over.
    Result<void> send(const BusSignal& signal);

private:
    using Clock = std::chrono::steady_clock;
    struct Closing {
        void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
    };

    static int settle(sd_bus* bus, Clock::time_point end);
    int open(const std::string& address, Clock::time_point end);
    int connect(Clock::time_point end);

    std::mutex mutex_;
    std::unique_ptr<sd_bus, Closing> bus_;
    const std::chrono::milliseconds pause_;
    Clock::time_point silentUntil_;
};

} // namespace quorvane::platform::linux_
