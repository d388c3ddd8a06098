// A process that logs: the fake services, and what stands in its files.
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
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

/// A door that threads wait at until the test opens it.
class Gate {
public:
    /// Waits until the gate is open.
    void pass() {
        std::unique_lock lock(mutex_);
        ++arrived_;
        changed_.notify_all();
        changed_.wait(lock, [this] { return open_; });
    }
    /// Waits until a thread stands at the gate.
    void awaitArrival() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return arrived_ > 0; });
    }
    void open() {
        const std::lock_guard lock(mutex_);
        open_ = true;
        changed_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int arrived_ = 0;
    bool open_ = false;
};

/// The fake files, with a test's own way to write to them.
class ScriptedFiles : public FakeFileManager {
public:
    using Write = std::function<platform::Result<std::size_t>(
        FakeFileManager& files, platform::StreamHandle handle, std::string_view bytes)>;

    ScriptedFiles(const FakePlatform& system, Write write)
        : FakeFileManager(system.disk, system.journal), plain_(system.disk, system.journal),
          write_(std::move(write)) {}

    platform::Result<std::size_t> write(platform::StreamHandle handle,
                                        std::string_view bytes) override {
        return write_(plain_, handle, bytes);
    }

private:
    FakeFileManager plain_;
    Write write_;
};

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
    /// From now on the log's lines are written in the test's own way.
    void writeWith(ScriptedFiles::Write write) {
        system.services.makeFileManager = [this, write = std::move(write)] {
            return std::make_unique<ScriptedFiles>(system, write);
        };
    }
    /// Holds the lane at the gate, in the write of a line "held".
    void holdLane(Gate& gate) {
        writeWith([&gate](FakeFileManager& files, auto handle, std::string_view bytes) {
            gate.pass();
            return files.write(handle, bytes);
        });
        log().appendTextToLog("held");
        gate.awaitArrival();
    }
    /// Opens the gate and waits until the lane has left it for good.
    static void release(Gate& gate) {
        gate.open();
        QVLog::finishWriting();
    }
    /// Performs the action on a thread that is not the main one, and waits for it.
    template <class Action>
    static void onAnotherThread(Action action) {
        std::thread(action).join();
    }
    /// Adds an empty current log, without a header.
    void addCurrentLog() { disk->addFile(kCurrent); }

    FakePlatform system;
    const std::shared_ptr<Journal> journal = system.journal;
    const std::shared_ptr<FakeDisk> disk = system.disk;
};

} // namespace quorvane::testing
