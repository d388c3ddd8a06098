// Command-line tools as child processes: run and wait, collect output, exit status, time-outs.
#pragma once

#include <any>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "kit/base/encodings.h"
#include "platform/Processes.h"
#include "platform/Values.h"

namespace quorvane {

/// Whether a data run captures the tool's standard output, and its standard error.
enum class LogOutput : bool { no, yes };
enum class LogError : bool { no, yes };

/// How long a tool may run, in seconds; the watchdog uses the whole part.
using TaskTimeout = std::chrono::duration<double>;

/// Where a run leaves a reference to its process before it starts it. It does not own the process
/// and is empty again once the run has let go of it. Any thread.
class TaskSlot {
public:
    std::shared_ptr<platform::Process> process() const;
    void store(const std::shared_ptr<platform::Process>& process);
    void clear() { store(nullptr); }

private:
    mutable std::mutex mutex_;
    std::weak_ptr<platform::Process> process_;
};

class QVTaskEx;

/// Takes a chunk of an asynchronous run's output; an empty one marks the end. The context object is
/// empty when the run was given none. Called on the run's reading thread, which reads on when it
/// returns. Throws nothing but platform::Exception, which ends the reading and is logged.
using TaskOperation =
    std::function<void(const Bytes& data, QVTaskEx& runner, const std::any& object)>;

/// Receives the output of asynchronous runs. An operation left empty is one that the delegate does
/// not answer to. One with several operations derives from it and casts their selectors to
/// TaskSelector.
struct TaskDelegate {
    TaskOperation receiveData;
};

/// Which of the delegate's operations receives the chunks; null: none.
using TaskSelector = TaskOperation TaskDelegate::*;

/// The name of the notification that carries one chunk of an asynchronous run, and the key of its
/// only entry, the chunk.
inline constexpr const char* QVAsyncTaskDataNotification = "QVAsyncTaskDataNotification";
inline constexpr const char* kFileHandleNotificationDataItem = "NSFileHandleNotificationDataItem";

/// A notification without a sender. It is handed over directly and never posted.
struct TaskNotification {
    std::string name;
    std::map<std::string, Bytes> userInfo;
};

/// Runs tools by absolute path, each argument passed as it stands, without a shell. What goes wrong
/// is logged; only `terminationCodeFromTask` lets platform exceptions through.
///
/// The untimed forms are class operations, from any thread, and block it until the run ends. In the
/// timed forms a watchdog sleeps for the time-out and then ends a tool that still runs, on the main
/// thread: called on the main thread, or while that is blocked, they cannot be timed out. Where the
/// system has no thread left for the watchdog, the tool is not run, and that is told like any other
/// platform exception of the form.
///
/// The asynchronous form returns at once and hands the output to a delegate, chunk by chunk. One
/// instance runs one asynchronous run.
class QVTaskEx : public std::enable_shared_from_this<QVTaskEx> {
public:
    static std::shared_ptr<QVTaskEx> make();
    /// `dealloc`: ends any asynchronous run.
    ~QVTaskEx();
    QVTaskEx(const QVTaskEx&) = delete;
    QVTaskEx& operator=(const QVTaskEx&) = delete;

    /// `runTask:arguments:`, `runTask:arguments:task:`: runs a tool with its output discarded and
    /// waits for its end. True whatever its exit status; false when it could not be started.
    static bool runTask(const MaybePath& tool, const Arguments& arguments = {},
                        TaskSlot* task = nullptr);
    /// `runTask:arguments:timeout:` of the class.
    static void runTask(const MaybePath& tool, const Arguments& arguments, TaskTimeout timeout);
    /// `runTaskAndReturn:arguments:`: starts a tool with its output discarded and lets it run on.
    static void runTaskAndReturn(const MaybePath& tool, const Arguments& arguments = {});

    /// `dataFromTask:arguments:task:`, `…environment:`, `…logOutput:`, `…logError:`: what the tool
    /// printed on standard output, or, if that is nothing, on standard error. Standard output is
    /// read to its end before standard error. Null when the tool could not be run. The run ends
    /// with the captured streams, not with the process; capturing neither, it returns at once.
    static std::optional<Bytes>
    dataFromTask(const MaybePath& tool, const Arguments& arguments, TaskSlot* task,
                 const std::optional<Environment>& environment = std::nullopt,
                 LogOutput logOutput = LogOutput::yes, LogError logError = LogError::yes);
    /// `dataFromTask:arguments:timeout:`, `dataFromTask:arguments:timeout:logOutput:logError:` of
    /// the class: after the time-out, what was captured until then.
    static std::optional<Bytes> dataFromTask(const MaybePath& tool, const Arguments& arguments,
                                             TaskTimeout timeout,
                                             LogOutput logOutput = LogOutput::yes,
                                             LogError logError = LogError::yes);

    /// `stringFromTask:arguments:`, `stringFromTask:arguments:task:`, and the same with
    /// `encoding:`: the data as text; "" when the tool could not be run, null when the bytes are
    /// not in the encoding.
    static MaybeText stringFromTask(const MaybePath& tool, const Arguments& arguments = {},
                                    TaskSlot* task = nullptr);
    static MaybeText stringFromTask(const MaybePath& tool, const Arguments& arguments,
                                    TextEncoding encoding, TaskSlot* task);
    /// `stringFromTask:arguments:timeout:`, `stringFromTask:arguments:encoding:timeout:`,
    /// `stringFromTask:arguments:encoding:timeout:logOutput:logError:`.
    static MaybeText stringFromTask(const MaybePath& tool, const Arguments& arguments,
                                    TaskTimeout timeout);
    static MaybeText stringFromTask(const MaybePath& tool, const Arguments& arguments,
                                    TextEncoding encoding, TaskTimeout timeout,
                                    LogOutput logOutput = LogOutput::yes,
                                    LogError logError = LogError::yes);

    /// `terminationCodeFromTask:arguments:`, `terminationCodeFromTask:arguments:task:`: runs a tool
    /// with its output discarded and answers its exit status (a signal's number when one ended it);
    /// -1 when it is not executable. Throws platform::Exception when it cannot be started.
    static int terminationCodeFromTask(const MaybePath& tool, const Arguments& arguments = {},
                                       TaskSlot* task = nullptr);
    /// `terminationCodeFromTask:arguments:timeout:` of the class.
    static int terminationCodeFromTask(const MaybePath& tool, const Arguments& arguments,
                                       TaskTimeout timeout);

    /// The timed instance forms, `runTask:arguments:timeout:`,
    /// `dataFromTask:arguments:timeout:[logOutput:logError:]`,
    /// `terminationCodeFromTask:arguments:timeout:`, with the suffix that tells them from the class
    /// forms. A watchdog outlives a run that ends early: it terminates whatever the same instance
    /// runs when it wakes. `runTaskOnInstance` shows its process to no watchdog and always waits
    /// for the tool's own end; callers rely on that.
    void runTaskOnInstance(const MaybePath& tool, const Arguments& arguments, TaskTimeout timeout);
    std::optional<Bytes> dataFromTaskOnInstance(const MaybePath& tool, const Arguments& arguments,
                                                TaskTimeout timeout,
                                                LogOutput logOutput = LogOutput::yes,
                                                LogError logError = LogError::yes);
    int terminationCodeFromTaskOnInstance(const MaybePath& tool, const Arguments& arguments,
                                          TaskTimeout timeout);

    /// `asyncDataFromTask:arguments:delegate:selector:object:`, `…environment:`: starts a tool on a
    /// thread of its own, which keeps this instance alive, and hands its standard output to the
    /// delegate's operation; standard error is discarded, standard input inherited. After the end
    /// of the output the delegate gets an empty chunk, and a tool that still runs is terminated.
    /// Where the tool cannot be started the delegate is not called, which only the log tells. The
    /// delegate is not kept alive; chunks for one that is gone are dropped.
    void asyncDataFromTask(const MaybePath& tool, const Arguments& arguments,
                           const std::shared_ptr<TaskDelegate>& delegate, TaskSelector selector,
                           std::any object,
                           const std::optional<Environment>& environment = std::nullopt);
    /// `launchAsyncTask`: the reading thread's body. Throws nothing.
    void launchAsyncTask();
    /// `asyncTaskReturnData:`: delivers a chunk, and after an empty one ends the run. Dropped
    /// silently: chunks without a delegate, a selector, or an operation that answers to it.
    void asyncTaskReturnData(const TaskNotification& notification);
    /// `terminateAsyncTask`, `terminateTask`: ends the run and asks its tool to end, or that of a
    /// timed run. Any thread, the delegate included, and any number of times. A call of the
    /// delegate that has begun, or is just beginning, goes on; there is none after it.
    void terminateAsyncTask();
    void terminateTask() { terminateAsyncTask(); }

    /// `theTask`: the process of the timed or asynchronous run in progress.
    TaskSlot& theTask() { return theTask_; }
    /// `delegate`, `selector`, `object`: who receives the chunks of the asynchronous run, and what
    /// comes with each. Any thread.
    std::shared_ptr<TaskDelegate> delegate() const { return receiver().delegate.lock(); }
    void setDelegate(const std::shared_ptr<TaskDelegate>& delegate);
    TaskSelector selector() const { return receiver().selector; }
    void setSelector(TaskSelector selector);
    std::any object() const { return receiver().object; }
    void setObject(std::any object);

private:
    struct AsyncRun;
    /// Who receives the chunks, and what comes with each.
    struct Receiver {
        std::weak_ptr<TaskDelegate> delegate;
        TaskSelector selector = nullptr;
        std::any object;
    };

    QVTaskEx() = default;

    void startWatchdog(TaskTimeout timeout);
    void setupTimeout(double wholeSeconds); // `setupTimeout:`, on the watchdog's thread
    void timeout();                         // on the main thread

    void prepareAsyncRun(platform::LaunchDescription launch);
    std::shared_ptr<AsyncRun> asyncRun() const;
    void readToEnd(const AsyncRun& run);
    Receiver receiver() const;

    TaskSlot theTask_;
    mutable std::mutex mutex_; ///< guards the receiver and the run
    Receiver receiver_;
    std::shared_ptr<AsyncRun> asyncRun_; ///< keeps its process alive
};

} // namespace quorvane
