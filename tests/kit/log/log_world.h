// A process that logs: the fake services, and what stands in its files.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kit/log/QVLog.h"
#include "tests/support/errors.h"
#include "tests/support/fake_platform.h"

namespace quorvane::testing {

inline const std::string kFolder = "/Users/anna/Library/Logs/Quorvane";
inline const std::string kCurrent = kFolder + "/Fake Tool.1.log";
inline const std::string kPreferences = "/Users/anna/Library/Preferences/com.quorvane.global.plist";

/// The path of a generation of the fake tool's log.
inline std::string generation(int number) {
    return kFolder + "/Fake Tool." + std::to_string(number) + ".log";
}

/// The lines of a file, each without its date; a line that has none, or no line break, comes back
/// as "BROKEN: ...".
std::vector<std::string> undated(const std::string& content);

class LogTest : public ::testing::Test {
protected:
    LogTest() { disk->addFolder("/Users/anna/Library"); }

    static QVLog& log() { return QVLog::sharedController(); }
    /// The messages of a file, once everything is written.
    std::vector<std::string> messages(const Path& path = kCurrent) const;
    /// What the action prints to standard output, once everything is written.
    template <class Action>
    static std::string printed(Action action) {
        ::testing::internal::CaptureStdout();
        action();
        QVLog::finishWriting();
        return ::testing::internal::GetCapturedStdout();
    }
    /// Adds an empty current log, without a header.
    void addCurrentLog() { disk->addFile(kCurrent); }

    FakePlatform system;
    const std::shared_ptr<Journal> journal = system.journal;
    const std::shared_ptr<FakeDisk> disk = system.disk;
};

} // namespace quorvane::testing
