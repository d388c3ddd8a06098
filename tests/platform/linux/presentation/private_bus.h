// A message bus of a test's own, and somebody who listens on it.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/linux/posix.h"

namespace quorvane::testing {

/// A program whose output the test reads; it is killed at the end.
class OutputOf {
public:
    explicit OutputOf(const std::vector<std::string>& command);
    OutputOf(const OutputOf&) = delete;
    OutputOf& operator=(const OutputOf&) = delete;
    ~OutputOf();

    /// Waits for the next line, half a minute at most; empty without one.
    std::string line();
    /// Sends the program a signal.
    void signal(int number) const;

private:
    platform::linux_::Descriptor output_;
    pid_t process_ = -1;
    std::string read_;
};

/// A real message bus at this address, which is ready when it is made.
class PrivateBus {
public:
    PrivateBus(const Path& folder, const std::string& address);

    /// Its address as it says it, with an identifier of its own.
    const std::string& address() const { return address_; }
    /// Neither reads nor answers from now on.
    void hang() const;
    void goOn() const;

private:
    OutputOf daemon_;
    std::string address_;
};

/// A client of the bus that hears change notices, from the time on when it is made.
class NoticeListener {
public:
    explicit NoticeListener(const std::string& address);
    /// Waits for the next notice: its name and its texts, as in "FilesChanged [file:///a]".
    std::string next();

private:
    OutputOf monitor_;
};

} // namespace quorvane::testing
