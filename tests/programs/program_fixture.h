// The fake platform as the tests of the programs use it.
#pragma once

#include <iostream>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/log/QVLog.h"
#include "tests/programs/fake_command_line.h"
#include "tests/support/fake_platform.h"

namespace quorvane::testing {

class ProgramTest : public ::testing::Test {
protected:
    ProgramTest() : error_(std::cerr.rdbuf(errorText_.rdbuf())) {
        // What is asked on the queue is answered at once.
        system.queues->setMode(Detached::inlined);
        QVLog::sharedController().setLoggingDisabled(true); // as every program runs
    }
    ~ProgramTest() override { std::cerr.rdbuf(error_); }

    /// What was written to standard error since the last call.
    std::string error() {
        std::string text = errorText_.str();
        errorText_.str({});
        return text;
    }

    FakePlatform system;
    FakeCommandLine commandLine;
    std::ostringstream output;

private:
    std::ostringstream errorText_;
    std::streambuf* error_;
};

} // namespace quorvane::testing
