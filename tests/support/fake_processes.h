// Scripted tools: nothing is executed.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/Processes.h"
#include "tests/support/journal.h"

namespace quorvane::testing {

/// What a scripted tool does once it is launched.
struct FakeTool {
    /// What one read of the stream gives, in order.
    std::vector<Bytes> output = {};
    std::vector<Bytes> error = {};
    int exitStatus = 0;
    /// It runs until it is terminated or the test ends it, and keeps its streams open.
    bool runsUntilTerminated = false;
    /// With the above: it closes its streams although it runs on.
    bool closesItsStreams = false;
    /// What launching it throws.
    std::optional<platform::Exception> launchFailure = {};
    /// Its effect on the world, performed while it is launched.
    std::function<void(const platform::LaunchDescription&)> effect = {};
};

/// A pipe whose writing end the scripted tool holds.
class FakePipe : public platform::Pipe {
public:
    bool appendAvailableData(Bytes& buffer) override;
    void closeReading() override;

    void write(Bytes chunk);
    void closeWriting();
    /// Whether the reading end has been closed.
    bool readingClosed() const;

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Bytes> chunks_;
    bool writingClosed_ = false;
    bool readingClosed_ = false;
};

class FakeProcesses;

class FakeProcess : public platform::Process {
public:
    explicit FakeProcess(FakeProcesses& owner) : owner_(owner) {}

    void launch(const platform::LaunchDescription& description) override;
    Path launchPath() const override;
    bool isRunning() override;
    void waitUntilExit() override;
    int terminationStatus() override;
    void terminate() override;

    const platform::LaunchDescription& description() const { return description_; }
    /// The tool prints on its standard output.
    void print(Bytes chunk) const;
    /// The tool ends and its streams close.
    void end(int status);
    /// How often someone waited for its end.
    int waits() const;

private:
    enum class State { made, running, ended };

    void closeStreams();
    void finish(int status);

    FakeProcesses& owner_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    platform::LaunchDescription description_;
    State state_ = State::made;
    int status_ = 0;
    int waits_ = 0;
};

/// Journals "process.launch PATH [ARGUMENTS] out=STREAM err=STREAM in=STREAM", with
/// " env=[NAME=VALUE, ...]" behind it when an environment is given, and "process.terminate PATH".
/// A stream is "inherited", "null" or "pipe".
class FakeProcesses : public platform::Processes {
public:
    explicit FakeProcesses(Journal& journal) : journal_(journal) {}

    std::shared_ptr<platform::Process> makeProcess() override;
    std::shared_ptr<platform::Pipe> makePipe() override;

    /// Scripts the tool at a path. One that nobody scripted cannot be launched.
    void script(const Path& path, FakeTool tool);
    /// The processes launched so far, in order.
    std::vector<std::shared_ptr<FakeProcess>> launched() const;
    /// The last process launched; null when none was.
    std::shared_ptr<FakeProcess> lastLaunched() const;
    /// The pipes made so far, in order.
    std::vector<std::shared_ptr<FakePipe>> pipes() const;

private:
    friend class FakeProcess;
    FakeTool tool(const Path& path) const;
    void noteLaunch(const FakeProcess& process);

    Journal& journal_;
    mutable std::mutex mutex_;
    std::map<Path, FakeTool> tools_;
    std::vector<std::shared_ptr<FakeProcess>> made_;
    std::vector<const FakeProcess*> launchOrder_;
    std::vector<std::shared_ptr<FakePipe>> pipes_;
};

} // namespace quorvane::testing
