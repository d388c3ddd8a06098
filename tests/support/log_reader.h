// What the kit wrote to the application's log and to standard output.
#pragma once

#include <string>
#include <vector>

#include "tests/support/fake_platform.h"

namespace quorvane::testing {

/// Gives the fake platform's application a current log and captures standard output, from its
/// making on. One at a time.
class LogReader {
public:
    explicit LogReader(FakePlatform& system);
    ~LogReader();
    LogReader(const LogReader&) = delete;
    LogReader& operator=(const LogReader&) = delete;

    /// The messages written so far, without their dates.
    std::vector<std::string> messages();
    /// What was printed since the last call.
    std::string printed();

private:
    FakePlatform& system_;
};

} // namespace quorvane::testing
