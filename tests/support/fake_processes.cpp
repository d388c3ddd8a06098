#include "tests/support/fake_processes.h"

#include <algorithm>
#include <csignal>
#include <utility>

#include "tests/support/texts.h"

namespace quorvane::testing {
namespace {

using platform::StandardStream;

const char* streamText(const StandardStream& stream) {
    switch (stream.kind) {
    case StandardStream::Kind::nullDevice:
        return "null";
    case StandardStream::Kind::pipe:
        return "pipe";
    case StandardStream::Kind::inherited:
        break;
    }
    return "inherited";
}

std::string launchEntry(const platform::LaunchDescription& description) {
    std::string entry =
        "process.launch " + description.path + " " + bracketed(description.arguments) +
        " out=" + streamText(description.output) + " err=" + streamText(description.error) +
        " in=" + streamText(description.input);
    if (!description.environment) return entry;
    std::vector<std::string> variables;
    for (const auto& [name, value] : *description.environment)
        variables.push_back(std::string(name).append("=").append(value));
    return entry + " env=" + bracketed(variables);
}

FakePipe* pipeOf(const StandardStream& stream) {
    return dynamic_cast<FakePipe*>(stream.pipe.get());
}

} // namespace

bool FakePipe::appendAvailableData(Bytes& buffer) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !chunks_.empty() || writingClosed_ || readingClosed_; });
    if (readingClosed_ || chunks_.empty()) return false;
    buffer += chunks_.front();
    chunks_.pop_front();
    return true;
}

void FakePipe::closeReading() {
    const std::lock_guard lock(mutex_);
    readingClosed_ = true;
    changed_.notify_all();
}

void FakePipe::write(Bytes chunk) {
    const std::lock_guard lock(mutex_);
    if (!chunk.empty()) chunks_.push_back(std::move(chunk));
    changed_.notify_all();
}

void FakePipe::closeWriting() {
    const std::lock_guard lock(mutex_);
    writingClosed_ = true;
    changed_.notify_all();
}

bool FakePipe::readingClosed() const {
    const std::lock_guard lock(mutex_);
    return readingClosed_;
}

void FakeProcess::launch(const platform::LaunchDescription& description) {
    const FakeTool tool = owner_.tool(description.path);
    {
        const std::lock_guard lock(mutex_);
        if (!description_.path.empty())
            throw platform::Exception("ProcessException", "The process has been launched before");
        description_ = description;
        if (!tool.launchFailure) state_ = State::running;
    }
    owner_.journal_.add(launchEntry(description));
    if (tool.launchFailure) {
        closeStreams();
        throw platform::Exception(*tool.launchFailure);
    }
    owner_.noteLaunch(*this);
    if (tool.effect) tool.effect(description);
    for (const Bytes& chunk : tool.output) print(chunk);
    if (FakePipe* pipe = pipeOf(description.error))
        for (const Bytes& chunk : tool.error) pipe->write(chunk);
    if (!tool.runsUntilTerminated)
        end(tool.exitStatus);
    else if (tool.closesItsStreams)
        closeStreams();
}

Path FakeProcess::launchPath() const {
    const std::lock_guard lock(mutex_);
    return description_.path;
}

bool FakeProcess::isRunning() {
    const std::lock_guard lock(mutex_);
    return state_ == State::running;
}

void FakeProcess::waitUntilExit() {
    std::unique_lock lock(mutex_);
    ++waits_;
    changed_.wait(lock, [this] { return state_ != State::running; });
}

int FakeProcess::terminationStatus() {
    const std::lock_guard lock(mutex_);
    if (state_ != State::ended)
        throw platform::Exception("ProcessException", "The process has not ended");
    return status_;
}

void FakeProcess::terminate() {
    if (!isRunning()) return;
    owner_.journal_.add("process.terminate " + launchPath());
    end(SIGTERM);
}

void FakeProcess::print(Bytes chunk) const {
    if (FakePipe* pipe = pipeOf(description_.output)) pipe->write(std::move(chunk));
}

void FakeProcess::end(int status) {
    finish(status);
    closeStreams();
}

int FakeProcess::waits() const {
    const std::lock_guard lock(mutex_);
    return waits_;
}

void FakeProcess::closeStreams() {
    for (const StandardStream* stream : {&description_.output, &description_.error})
        if (FakePipe* pipe = pipeOf(*stream)) pipe->closeWriting();
}

void FakeProcess::finish(int status) {
    const std::lock_guard lock(mutex_);
    if (state_ != State::running) return;
    state_ = State::ended;
    status_ = status;
    changed_.notify_all();
}

std::shared_ptr<platform::Process> FakeProcesses::makeProcess() {
    const std::lock_guard lock(mutex_);
    return made_.emplace_back(std::make_shared<FakeProcess>(*this));
}

std::shared_ptr<platform::Pipe> FakeProcesses::makePipe() {
    const std::lock_guard lock(mutex_);
    return pipes_.emplace_back(std::make_shared<FakePipe>());
}

void FakeProcesses::script(const Path& path, FakeTool tool) {
    const std::lock_guard lock(mutex_);
    tools_[path] = std::move(tool);
}

std::vector<std::shared_ptr<FakeProcess>> FakeProcesses::launched() const {
    const std::lock_guard lock(mutex_);
    std::vector<std::shared_ptr<FakeProcess>> processes;
    for (const FakeProcess* process : launchOrder_)
        processes.push_back(*std::ranges::find(made_, process, &std::shared_ptr<FakeProcess>::get));
    return processes;
}

std::shared_ptr<FakeProcess> FakeProcesses::lastLaunched() const {
    const auto processes = launched();
    return processes.empty() ? nullptr : processes.back();
}

std::vector<std::shared_ptr<FakePipe>> FakeProcesses::pipes() const {
    const std::lock_guard lock(mutex_);
    return pipes_;
}

FakeTool FakeProcesses::tool(const Path& path) const {
    const std::lock_guard lock(mutex_);
    const auto found = tools_.find(path);
    if (found != tools_.end()) return found->second;
    FakeTool missing;
    missing.launchFailure = platform::Exception("ProcessException", "No such file or directory");
    return missing;
}

void FakeProcesses::noteLaunch(const FakeProcess& process) {
    const std::lock_guard lock(mutex_);
    launchOrder_.push_back(&process);
}

} // namespace quorvane::testing
