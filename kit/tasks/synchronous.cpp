// Runs that block their caller until the tool, or its output, has ended.

#include "kit/tasks/QVTaskEx.h"

#include <utility>

#include "kit/log/QVLog.h"
#include "kit/tasks/messages.h"
#include "platform/FileManager.h"
#include "platform/Services.h"
#include "platform/Tools.h"
#include "platform/Workspace.h"

namespace quorvane {
namespace {

using platform::LaunchDescription;
using platform::Pipe;
using platform::Process;
using platform::StandardStream;

platform::Processes& processes() { return *platform::services().processes; }

/// Whether a file stands there that can be run: no folder, and so no bundle.
bool isExecutableTool(const MaybePath& tool) {
    if (!tool) return false;
    const Path program = platform::services().tools->locate(*tool);
    const auto files = platform::services().makeFileManager();
    const platform::Existence existence = files->existence(program);
    return existence.exists && !existence.isDirectory && files->isExecutable(program) &&
           !platform::services().workspace->isFilePackage(program);
}

/// The same, with a log line when not.
bool checkExecutable(const MaybePath& tool) {
    if (isExecutableTool(tool)) return true;
    QVLog::appendLogAndPrint("Error: %@ is not executable", tool);
    return false;
}

std::shared_ptr<Process> makeProcess(TaskSlot* task) {
    auto process = processes().makeProcess();
    if (task != nullptr) task->store(process);
    return process;
}

LaunchDescription discardingOutput(const MaybePath& tool, const Arguments& arguments) {
    LaunchDescription launch;
    launch.path = tool.value_or(Path());
    launch.arguments = arguments;
    launch.output = StandardStream::null();
    launch.error = StandardStream::null();
    return launch;
}

/// Closes the reading end when the run is over, however it ends.
class ReadingEnd {
public:
    ReadingEnd() : pipe_(processes().makePipe()) {}
    ReadingEnd(const ReadingEnd&) = delete;
    ReadingEnd& operator=(const ReadingEnd&) = delete;
    ~ReadingEnd() { pipe_->closeReading(); }

    const std::shared_ptr<Pipe>& pipe() const { return pipe_; }

    /// Appends what is there to read; false at the end of the stream.
    bool appendTo(Bytes& buffer) { return pipe_->appendAvailableData(buffer); }

private:
    std::shared_ptr<Pipe> pipe_;
};

Bytes captureRun(const Path& tool, const Arguments& arguments, TaskSlot* task,
                 const std::optional<Environment>& environment, bool logOutput, bool logError) {
    const auto process = makeProcess(task);
    ReadingEnd outputEnd;
    ReadingEnd errorEnd;
    LaunchDescription launch;
    launch.path = tool;
    launch.arguments = arguments;
    launch.environment = environment;
    if (logOutput) launch.output = StandardStream::to(outputEnd.pipe());
    launch.input = StandardStream::to(processes().makePipe()); // nothing is ever written on it
    launch.error = logError ? StandardStream::to(errorEnd.pipe()) : StandardStream::null();
    process->launch(launch);

    Bytes output;
    Bytes error;
    // Standard output first, to its end: a tool that fills the error pipe before that blocks, and
    // the run with it, until a time-out ends the tool.
    while ((logOutput && outputEnd.appendTo(output)) || (logError && errorEnd.appendTo(error))) {
    }
    return output.empty() ? std::move(error) : std::move(output);
}

} // namespace

std::shared_ptr<Process> TaskSlot::process() const {
    const std::lock_guard lock(mutex_);
    return process_.lock();
}

void TaskSlot::store(const std::shared_ptr<Process>& process) {
    const std::lock_guard lock(mutex_);
    process_ = process;
}

bool QVTaskEx::runTask(const MaybePath& tool, const Arguments& arguments, TaskSlot* task) {
    // A name that is no absolute path is left to the launch itself.
    if (tool && tool->starts_with('/') && !checkExecutable(tool)) return false;
    try {
        const auto process = makeProcess(task);
        process->launch(discardingOutput(tool, arguments));
        process->waitUntilExit();
        return true;
    } catch (const platform::Exception& exception) {
        QVLog::appendLog(kTaskExceptionMessage, tool, exception.reason());
        return false;
    }
}

void QVTaskEx::runTaskAndReturn(const MaybePath& tool, const Arguments& arguments) {
    if (!checkExecutable(tool)) return;
    try {
        makeProcess(nullptr)->launch(discardingOutput(tool, arguments));
    } catch (const platform::Exception& exception) {
        QVLog::appendLogAndPrint(kTaskExceptionMessage, tool, exception.reason());
    }
}

std::optional<Bytes> QVTaskEx::dataFromTask(const MaybePath& tool, const Arguments& arguments,
                                            TaskSlot* task,
                                            const std::optional<Environment>& environment,
                                            LogOutput logOutput, LogError logError) {
    if (!checkExecutable(tool)) return std::nullopt;
    try {
        return captureRun(*tool, arguments, task, environment, logOutput == LogOutput::yes,
                          logError == LogError::yes);
    } catch (const platform::Exception& exception) {
        QVLog::appendLogAndPrint(kTaskExceptionMessage, tool, exception.reason());
        return std::nullopt;
    }
}

int QVTaskEx::terminationCodeFromTask(const MaybePath& tool, const Arguments& arguments,
                                      TaskSlot* task) {
    if (!checkExecutable(tool)) return -1;
    const auto process = makeProcess(task);
    process->launch(discardingOutput(tool, arguments));
    process->waitUntilExit();
    return process->terminationStatus();
}

} // namespace quorvane
