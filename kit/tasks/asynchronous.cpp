// Runs that hand their output to a delegate while their caller goes on.

#include "kit/tasks/QVTaskEx.h"

#include <atomic>
#include <utility>

#include "kit/log/QVException.h"
#include "kit/log/QVLog.h"
#include "platform/FileManager.h"
#include "platform/Queues.h"
#include "platform/Services.h"
#include "platform/Tools.h"

namespace quorvane {
namespace {

using platform::StandardStream;

constexpr const char* kLaunchMethod = "-[QVTaskEx launchAsyncTask]";

bool isLaunchable(const Path& tool) {
    const Path program = platform::services().tools->locate(tool);
    const auto files = platform::services().makeFileManager();
    return files->existence(program).exists && files->isExecutable(program);
}

TaskNotification carrying(Bytes chunk) {
    TaskNotification notification{QVAsyncTaskDataNotification, {}};
    notification.userInfo.emplace(kFileHandleNotificationDataItem, std::move(chunk));
    return notification;
}

} // namespace

/// A prepared run. The reading thread holds it for as long as it reads.
struct QVTaskEx::AsyncRun {
    std::shared_ptr<platform::Process> process;
    platform::LaunchDescription launch;
    std::atomic<bool> ended = false;

    platform::Pipe& output() const { return *launch.output.pipe; }

    void start() {
        process->launch(launch);
        // Ended while it was being started: `end` may have come too early for the process.
        if (ended) process->terminate();
    }

    void end() {
        ended = true;
        output().closeReading();
        process->terminate();
    }
};

QVTaskEx::~QVTaskEx() { terminateAsyncTask(); }

void QVTaskEx::asyncDataFromTask(const MaybePath& tool, const Arguments& arguments,
                                 const std::shared_ptr<TaskDelegate>& delegate,
                                 TaskSelector selector, std::any object,
                                 const std::optional<Environment>& environment) {
    setDelegate(delegate);
    setSelector(selector);
    setObject(std::move(object));
    try {
        prepareAsyncRun({.path = tool.value_or(Path()),
                         .arguments = arguments,
                         .environment = environment,
                         .input = StandardStream::inherit(),
                         .output = {},
                         .error = StandardStream::null()});
        platform::services().queues->detachThread(
            [self = shared_from_this()] { self->launchAsyncTask(); });
    } catch (const platform::Exception& exception) {
        QVException::logException(exception, kLaunchMethod);
    }
}

void QVTaskEx::prepareAsyncRun(platform::LaunchDescription launch) {
    auto& processes = *platform::services().processes;
    const auto run = std::make_shared<AsyncRun>();
    run->process = processes.makeProcess();
    launch.output = StandardStream::to(processes.makePipe());
    run->launch = std::move(launch);
    theTask_.store(run->process);
    const std::lock_guard lock(mutex_);
    asyncRun_ = run;
}

void QVTaskEx::launchAsyncTask() {
    try {
        const auto run = asyncRun();
        if (!run) {
            QVLog::appendLogAndPrint("Unable to launch async task - no task set");
        } else if (!isLaunchable(run->launch.path)) {
            QVLog::appendLog(
                "Unable to launch async task - task does not exist or is not executable");
        } else {
            run->start();
            readToEnd(*run);
        }
    } catch (const platform::Exception& exception) {
        QVException::logException(exception, kLaunchMethod);
    }
}

void QVTaskEx::readToEnd(const AsyncRun& run) {
    for (Bytes chunk = run.output().availableData(); !chunk.empty();
         chunk = run.output().availableData())
        asyncTaskReturnData(carrying(std::move(chunk)));
    asyncTaskReturnData(carrying({}));
}

void QVTaskEx::asyncTaskReturnData(const TaskNotification& notification) {
    static const Bytes kEnd;
    const auto found = notification.userInfo.find(kFileHandleNotificationDataItem);
    const Bytes& chunk = found != notification.userInfo.end() ? found->second : kEnd;
    const Receiver to = receiver();
    const auto delegate = to.delegate.lock();
    if (delegate && to.selector != nullptr)
        if (const TaskOperation& receive = (*delegate).*to.selector)
            receive(chunk, *this, to.object);
    if (chunk.empty()) terminateAsyncTask();
}

void QVTaskEx::terminateAsyncTask() {
    Receiver receiver; // let go of after the lock: the context object may end anything with it
    std::shared_ptr<AsyncRun> run;
    std::shared_ptr<platform::Process> shown;
    {
        const std::lock_guard lock(mutex_);
        std::swap(receiver, receiver_);
        run.swap(asyncRun_);
        shown = theTask_.process();
        theTask_.clear();
    }
    if (run) run->end();
    // A timed run of the same instance: its watchdog finds nothing any more.
    if (shown && !(run && shown == run->process) && shown->isRunning()) shown->terminate();
}

std::shared_ptr<QVTaskEx::AsyncRun> QVTaskEx::asyncRun() const {
    const std::lock_guard lock(mutex_);
    return asyncRun_;
}

QVTaskEx::Receiver QVTaskEx::receiver() const {
    const std::lock_guard lock(mutex_);
    return receiver_;
}

void QVTaskEx::setDelegate(const std::shared_ptr<TaskDelegate>& delegate) {
    const std::lock_guard lock(mutex_);
    receiver_.delegate = delegate;
}

void QVTaskEx::setSelector(TaskSelector selector) {
    const std::lock_guard lock(mutex_);
    receiver_.selector = selector;
}

void QVTaskEx::setObject(std::any object) {
    const std::lock_guard lock(mutex_);
    receiver_.object.swap(object);
}

} // namespace quorvane
