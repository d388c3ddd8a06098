// A terminal and a user in the test's hand.
#pragma once

#include <atomic>
#include <optional>

#include "platform/CommandLine.h"

namespace quorvane::testing {

class FakeCommandLine : public platform::CommandLine {
public:
    std::optional<std::size_t> terminalColumns() const override { return columns; }
    bool hasStandardOutput() const override { return standardOutput; }
    bool isInterrupted() const override { return interrupted; }

    std::optional<std::size_t> columns;
    bool standardOutput = true;
    std::atomic<bool> interrupted = false;
};

} // namespace quorvane::testing
