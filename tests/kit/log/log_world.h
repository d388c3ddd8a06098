// A process that logs: the fake services, and what stands in its files.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kit/log/QVLog.h"
#include "platform/Services.h"
#include "tests/support/errors.h"
#include "tests/support/fake_application.h"
#include "tests/support/fake_file_manager.h"
#include "tests/support/fake_identity.h"
#include "tests/support/fake_system.h"

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
    LogTest();
    ~LogTest() override;

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

    std::shared_ptr<Journal> journal = std::make_shared<Journal>();
    std::shared_ptr<FakeDisk> disk = std::make_shared<FakeDisk>();
    std::shared_ptr<FakeApplication> application = std::make_shared<FakeApplication>(*journal);
    std::shared_ptr<FakeExceptions> exceptions = std::make_shared<FakeExceptions>();
    std::shared_ptr<FakeIdentity> identity = std::make_shared<FakeIdentity>();
    std::shared_ptr<FakePropertyLists> propertyLists = std::make_shared<FakePropertyLists>();
    std::shared_ptr<FakeSystemInfo> system = std::make_shared<FakeSystemInfo>();
    platform::Services services;

private:
    const platform::Services* before_;
};

} // namespace quorvane::testing
