// Runs with a watchdog.

#include "kit/tasks/QVTaskEx.h"

#include <algorithm>
#include <cmath>

#include "kit/log/QVLog.h"
#include "kit/tasks/messages.h"
#include "platform/Application.h"
#include "platform/Queues.h"
#include "platform/Services.h"

namespace quorvane {

std::shared_ptr<QVTaskEx> QVTaskEx::make() { return std::shared_ptr<QVTaskEx>(new QVTaskEx); }

void QVTaskEx::runTask(const MaybePath& tool, const Arguments& arguments, TaskTimeout timeout) {
    make()->runTaskOnInstance(tool, arguments, timeout);
}

std::optional<Bytes> QVTaskEx::dataFromTask(const MaybePath& tool, const Arguments& arguments,
                                            TaskTimeout timeout, LogOutput logOutput,
                                            LogError logError) {
    return make()->dataFromTaskOnInstance(tool, arguments, timeout, logOutput, logError);
}

int QVTaskEx::terminationCodeFromTask(const MaybePath& tool, const Arguments& arguments,
                                      TaskTimeout timeout) {
    return make()->terminationCodeFromTaskOnInstance(tool, arguments, timeout);
}

void QVTaskEx::runTaskOnInstance(const MaybePath& tool, const Arguments& arguments,
                                 TaskTimeout timeout) {
    try {
        startWatchdog(timeout);
    } catch (const platform::Exception& exception) {
        QVLog::appendLog(kTaskExceptionMessage, tool, exception.reason());
        return;
    }
    theTask_.clear();
    // A slot of its own: callers rely on this form waiting for the tool's own end.
    TaskSlot hidden;
    runTask(tool, arguments, &hidden);
    theTask_.clear();
}

std::optional<Bytes> QVTaskEx::dataFromTaskOnInstance(const MaybePath& tool,
                                                      const Arguments& arguments,
                                                      TaskTimeout timeout, LogOutput logOutput,
                                                      LogError logError) {
    try {
        startWatchdog(timeout);
    } catch (const platform::Exception& exception) {
        QVLog::appendLogAndPrint(kTaskExceptionMessage, tool, exception.reason());
        return std::nullopt;
    }
    theTask_.clear();
    auto data = dataFromTask(tool, arguments, &theTask_, std::nullopt, logOutput, logError);
    theTask_.clear();
    return data;
}

int QVTaskEx::terminationCodeFromTaskOnInstance(const MaybePath& tool, const Arguments& arguments,
                                                TaskTimeout timeout) {
    startWatchdog(timeout);
    theTask_.clear();
    const int code = terminationCodeFromTask(tool, arguments, &theTask_);
    theTask_.clear();
    return code;
}

void QVTaskEx::startWatchdog(TaskTimeout timeout) {
    const double wholeSeconds = std::max(0.0, std::trunc(timeout.count())); // 0 for no number too
    // Nobody calls the watchdog off: it sleeps its time out and looks at what then runs.
    platform::services().queues->detachThread(
        [self = shared_from_this(), wholeSeconds] { self->setupTimeout(wholeSeconds); });
}

void QVTaskEx::setupTimeout(double wholeSeconds) {
    platform::services().queues->sleepFor(wholeSeconds);
    platform::services().application->performOnMainThreadAndWait([this] { timeout(); });
}

void QVTaskEx::timeout() {
    const auto process = theTask_.process();
    if (!process || !process->isRunning()) return;
    QVLog::appendLogAndPrint("Task %@ timed out. Terminating...", process->launchPath());
    process->terminate();
}

} // namespace quorvane
