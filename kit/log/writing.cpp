// From queued lines to the file: the lane.
#include <algorithm>
#include <exception>
#include <memory>

#include "kit/base/characters.h"
#include "kit/log/QVLog.h"
#include "kit/log/date_text.h"
#include "kit/log/line_batch.h"
#include "kit/log/log_file.h"
#include "platform/FileManager.h"
#include "platform/Services.h"

namespace quorvane {
namespace {

/// Puts the date into the room before each line.
void stamp(LineBatch& batch, std::size_t first, std::size_t last) {
    const std::string prefix = currentDateText() + " - ";
    for (; first < last; ++first)
        std::ranges::copy(prefix, batch.bytes.data() + batch.start(first));
}

/// Ends the line that the file may be torn in. Returns why it cannot; null when it is done.
MaybeText beginLine(LogFile& file, platform::FileManager& files) {
    if (file.mayBeTorn() && files.endsInsideLine(file.handle())) {
        const auto written = files.write(file.handle(), "\n");
        if (!written) return written.error().text;
    }
    file.setMayBeTorn(false);
    return std::nullopt;
}

} // namespace

/// How far a run of lines came.
struct QVLog::Outcome {
    std::size_t end;      ///< index behind the last line that is wholly written
    MaybeText error = {}; ///< why the next line is not
};

void QVLog::appendLogOnThread(std::string_view text) {
    LineBatch batch;
    batch.append(text, characterCount(text));
    writeLines(batch, 0);
}

/// Nothing that goes wrong here may end the lane: a line is lost, and the lines after it are tried.
std::size_t QVLog::writeLines(LineBatch& batch, std::size_t first) {
    if (loggingDisabled()) return batch.lines.size();
    std::size_t next = first + 1;
    try {
        const std::shared_ptr<LogFile> file = openFile();
        if (!file) {
            tellUnopened(batch.text(first));
            takeFromQueue(batch, first, next);
            return next;
        }
        const Outcome outcome = writeRun(*file, batch, first);
        if (outcome.error) {
            takeFromQueue(batch, first, outcome.end);
            next = outcome.end + 1;
            tellLost(*outcome.error);
            return next;
        }
        next = outcome.end;
        takeFromQueue(batch, first, next - 1);
        if (bytesWritten() >= kFileSizeLimit) beginFileAtLimit();
        takeFromQueue(batch, next - 1, next);
    } catch (const std::exception& exception) {
        tellLost(exception.what());
    }
    return next;
}

/// Up to the line that reaches the size limit, that line included.
std::size_t QVLog::endOfRun(const LineBatch& batch, std::size_t first) const {
    const std::uint64_t before = bytesWritten();
    const std::uint64_t room = before < kFileSizeLimit ? kFileSizeLimit - before : 0;
    const auto reaching = std::ranges::lower_bound(
        batch.lines.begin() + static_cast<std::ptrdiff_t>(first), batch.lines.end(),
        batch.start(first) + room, {}, &LineBatch::Line::end);
    if (reaching == batch.lines.end()) return batch.lines.size();
    return static_cast<std::size_t>(reaching - batch.lines.begin()) + 1;
}

QVLog::Outcome QVLog::writeRun(LogFile& file, LineBatch& batch, std::size_t first) {
    const std::size_t end = endOfRun(batch, first);
    stamp(batch, first, end);
    const auto files = platform::services().makeFileManager();
    std::string_view rest = batch.run(first, end);
    Outcome outcome{end, beginLine(file, *files)};
    while (!rest.empty() && !outcome.error) {
        const auto written = files->write(file.handle(), rest);
        if (written)
            rest.remove_prefix(written.value());
        else
            outcome.error = written.error().text;
    }
    if (outcome.error) file.setMayBeTorn(true);
    while (batch.run(outcome.end, end).size() < rest.size()) --outcome.end;
    bytesWritten_.fetch_add(batch.run(first, outcome.end).size(), std::memory_order_relaxed);
    return outcome;
}

void QVLog::beginFileAtLimit() const {
    finishWriting();
    createNewLog(appName());
    appendLog("Log truncated at 500KB");
}

void QVLog::takeFromQueue(const LineBatch& batch, std::size_t first, std::size_t end) {
    bytesInQueue_.fetch_sub(batch.characters(first, end), std::memory_order_relaxed);
}

void QVLog::tellUnopened(std::string_view text) const {
    print(formatText("Unable to log the following information: %s\n", {text}));
    print("Unable to open log for output\n");
}

void QVLog::tellLost(const std::string& reason) const {
    print(formatText("Exception writing to log: %s\n", {reason}));
}

} // namespace quorvane
