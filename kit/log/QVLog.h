// The application log: one current file per application, four older generations beside it.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kit/base/format.h"
#include "kit/base/singleton.h"
#include "platform/Values.h"

namespace quorvane {

class LogFile;
class WriteLane;
struct LineBatch;

/// The process-wide log service. Class operations, from any thread; none of them reports a failure
/// or throws. What goes wrong is printed to standard output, unless noPrinting.
///
/// A message becomes one line "DATE - TEXT" in UTC, written by one lane in the order of the calls,
/// so that lines of one thread keep their order and no two lines mix. A file that reaches 500000
/// bytes becomes generation 2, and a new one begins with a header.
///
/// A log exists once some tool has called createNewLog; without it, lines are appended to a
/// current log that is already there, or lost with two lines on standard output.
///
/// Processes of one application share its log: every batch of lines goes to the end of the file in
/// one write, so that no line is lost or torn by another's. Each counts its own bytes towards the
/// limit; what the others have open then becomes generation 2 under them, and they go on there
/// until they reach the limit themselves.
///
/// Formats take "%@", "%s", "%li", "%0.2f" and so on; see kit/base/format.h. A "%" before one of
/// " .!,-;:+" stands for itself.
class QVLog : public ProcessLifetime<QVLog> {
public:
    /// A file that has reached this many bytes is followed by a new one.
    static constexpr std::uint64_t kFileSizeLimit = 500000;
    /// Generation 1 is the current file.
    static constexpr long kGenerations = 5;

    ~QVLog() = delete; // lives as long as its process
    QVLog(const QVLog&) = delete;
    QVLog& operator=(const QVLog&) = delete;

    /// `sharedController`: the one instance; made, with its lane and its hooks in the application,
    /// on first use, and never destroyed.
    static QVLog& sharedController();
    /// Hands out the instance's memory once per process, and null ever after.
    static QVLog* allocate();

    /// `createNewLog`, `createNewLog:`: moves the generations on and begins a new current file with
    /// a header. The name counts only where the executable has none. Does nothing more, for good,
    /// once the user's "disable-logging" switch is found on.
    static void createNewLog(const MaybeText& name = std::nullopt);
    /// `availableLogs`: paths of this application's files in the user's log folder, newest first.
    static std::vector<Path> availableLogs();
    /// `finishWriting`: returns when every line handed over before the call is written. On the lane
    /// itself it returns at once, so that the writer never waits for itself.
    static void finishWriting();
    /// `willTerminate:`: ends logging for this process. Up to 10 pending lines are written; 11 and
    /// more are dropped, so that a flood does not hold up the quitting application.
    static void willTerminate();

    /// `appendLog:`: logs a line. Off the main thread, when the line is short (1 to 99 characters)
    /// and little is pending, it waits until the line is written.
    template <class... Values>
    static void appendLog(FormatString format, const Values&... values) {
        appendWithArguments(format, arguments(values...));
    }
    /// `fastAppendLog:`: logs a line and never waits.
    template <class... Values>
    static void fastAppendLog(FormatString format, const Values&... values) {
        fastAppendWithArguments(format, arguments(values...));
    }
    /// `appendLogAndPrint:`: the same as appendLog, and prints the line to standard output, without
    /// "%@" and with every "%" doubled.
    template <class... Values>
    static void appendLogAndPrint(FormatString format, const Values&... values) {
        appendAndPrintWithArguments(format, arguments(values...));
    }
    /// `appendLogAndDebugPrint:`: the same as appendLogAndPrint in a build that prints nothing.
    template <class... Values>
    static void appendLogAndDebugPrint(FormatString format, const Values&... values) {
        appendTrimmedWithArguments(format, arguments(values...));
    }
    /// `debugPrint:`: does nothing.
    template <class... Values>
    static void debugPrint(FormatString /*format*/, const Values&... /*values*/) {}

    /// `escapeTextForLogging:`: the format with every "%" doubled that stands before one of
    /// " .!,-;:+". Null for null.
    static MaybeText escapeTextForLogging(const MaybeText& text);

    /// `appendTextToLog:`: queues a text as one line, without the white space at its ends; an empty
    /// one is no line. Bytes that are no UTF-8 are written as U+FFFD.
    void appendTextToLog(std::string_view text);
    /// `appendLogOnThread:`: writes a line now. For the lane only; others use appendTextToLog.
    void appendLogOnThread(std::string_view text);

    /// `appName`: the name in the names of the files; unless one was set, the executable's file
    /// name without extension, null where that is unknown.
    MaybeText appName() const;
    void setAppName(const MaybeText& name);
    /// `fileHandle`: the open current file, closed when the last reference to it goes; null when no
    /// log is open.
    std::shared_ptr<LogFile> fileHandle() const;
    void setFileHandle(std::shared_ptr<LogFile> file);
    /// `writeQueue`: the lane; null once logging has ended.
    WriteLane* writeQueue() const;
    /// `bytesWritten`: bytes of whole lines written since createNewLog.
    std::uint64_t bytesWritten() const { return bytesWritten_.load(std::memory_order_relaxed); }
    void setBytesWritten(std::uint64_t bytes) {
        bytesWritten_.store(bytes, std::memory_order_relaxed);
    }
    /// `bytesInQueue`: characters (not bytes, despite the name) of the lines that are queued. Lines
    /// lost to a write error stay counted: callers then wait less often.
    std::uint64_t bytesInQueue() const { return bytesInQueue_.load(std::memory_order_relaxed); }
    void setBytesInQueue(std::uint64_t characters) {
        bytesInQueue_.store(characters, std::memory_order_relaxed);
    }
    /// `loggingDisabled`: every logging operation does nothing.
    bool loggingDisabled() const { return loggingDisabled_.load(std::memory_order_relaxed); }
    void setLoggingDisabled(bool disabled) {
        loggingDisabled_.store(disabled, std::memory_order_relaxed);
    }
    /// `noPrinting`: nothing goes to standard output, failures of the log included.
    bool noPrinting() const { return noPrinting_.load(std::memory_order_relaxed); }
    void setNoPrinting(bool silent) { noPrinting_.store(silent, std::memory_order_relaxed); }

private:
    using ArgumentSpan = std::span<const FormatArgument>;

    QVLog();

    template <class... Values>
    static std::array<FormatArgument, sizeof...(Values)> arguments(const Values&... values) {
        return {FormatArgument(values)...};
    }
    static void fastAppendWithArguments(FormatString format, ArgumentSpan values);
    static void appendWithArguments(FormatString format, ArgumentSpan values);
    static std::optional<std::string> appendTrimmedWithArguments(FormatString format,
                                                                 ArgumentSpan values);
    static void appendAndPrintWithArguments(FormatString format, ArgumentSpan values);

    void registerWithApplication();
    void print(const std::string& text) const;

    static bool isDisabledByUser();
    void settleName(const MaybeText& name);
    void beginFile();
    bool prepareFolder(const MaybePath& folder) const;
    bool moveGenerationsOn(const MaybePath& folder) const;
    Path generationPath(const MaybePath& folder, long generation) const;
    Path currentPath() const;
    std::shared_ptr<LogFile> openFile();

    struct Outcome;
    std::size_t writeLines(LineBatch& batch, std::size_t first);
    std::size_t endOfRun(const LineBatch& batch, std::size_t first) const;
    Outcome writeRun(LogFile& file, LineBatch& batch, std::size_t first);
    void beginFileAtLimit() const;
    void takeFromQueue(const LineBatch& batch, std::size_t first, std::size_t end);
    void tellUnopened(std::string_view text) const;
    void tellLost(const std::string& reason) const;

    mutable std::mutex mutex_; ///< guards the name and the file
    MaybeText appName_;
    std::shared_ptr<LogFile> fileHandle_;
    std::unique_ptr<WriteLane> lane_;
    int registration_ = 0;
    std::atomic<std::uint64_t> bytesWritten_ = 0;
    std::atomic<std::uint64_t> bytesInQueue_ = 0;
    std::atomic<bool> loggingDisabled_ = false;
    std::atomic<bool> noPrinting_ = false;
};

} // namespace quorvane
