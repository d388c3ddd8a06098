// Messages of the desktop's message bus, in the form that D-Bus gives them on the wire.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// A signal from an object to whoever listens. Texts are UTF-8 without NUL.
struct BusSignal {
    std::string object;
    std::string interface;
    std::string member;
    /// One argument: a text, or, as an array, several.
    std::vector<std::string> texts;
    bool isArray = false;
};

/// What a client sends first, without waiting for any answer: its credentials are those of the
/// socket, and the call "Hello" makes it a member of the bus. Any thread, as below.
Bytes busGreeting();
/// The signal with a number of its own, which is not 0; the greeting has 1.
Bytes busMessage(const BusSignal& signal, std::uint32_t serial);

} // namespace quorvane::platform::linux_
