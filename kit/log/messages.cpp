// From a format to a queued line: the caller's thread.
#include <algorithm>
#include <string>

#include "kit/base/characters.h"
#include "kit/log/QVLog.h"
#include "kit/log/write_lane.h"
#include "platform/Application.h"
#include "platform/Services.h"

namespace quorvane {
namespace {

/// A caller waits for its line only when neither the line nor the queue has more characters.
constexpr std::uint64_t kMostCharactersToWaitFor = 99;

/// A "%" before one of these is a percent sign of the text.
constexpr std::string_view kAfterLiteralPercent = " .!,-;:+";

bool needsEscaping(std::string_view text) {
    for (std::size_t at = text.find('%'); at != std::string_view::npos;
         at = text.find('%', at + 1)) {
        const std::string_view rest = text.substr(at + 1);
        if (rest.starts_with("%%")) return true;
        if (!rest.empty() && kAfterLiteralPercent.find(rest.front()) != std::string_view::npos)
            return true;
    }
    return false;
}

std::string escaped(std::string text) {
    for (const char after : kAfterLiteralPercent) {
        const std::string pair{'%', '%', after};
        text = replaceAll(text, std::string_view(pair).substr(1), pair);
    }
    return replaceAll(text, "%%%", "%%");
}

/// What a format of the log and its values read.
std::string messageOf(std::string_view format, std::span<const FormatArgument> values) {
    return needsEscaping(format) ? formatText(escaped(std::string(format)), values)
                                 : formatText(format, values);
}

/// Whether a caller waits until a message of this length is written.
bool waitsFor(std::uint64_t characters, std::uint64_t inQueue) {
    return characters >= 1 && characters <= kMostCharactersToWaitFor &&
           inQueue <= kMostCharactersToWaitFor && !platform::services().application->isMainThread();
}

} // namespace

MaybeText QVLog::escapeTextForLogging(const MaybeText& text) {
    return text && needsEscaping(*text) ? escaped(*text) : text;
}

void QVLog::fastAppendWithArguments(FormatString format, ArgumentSpan values) {
    QVLog& log = sharedController();
    if (!format.text() || log.loggingDisabled()) return;
    const std::string message = messageOf(*format.text(), values);
    log.appendTextToLog(message);
}

void QVLog::appendWithArguments(FormatString format, ArgumentSpan values) {
    QVLog& log = sharedController();
    if (!format.text() || log.loggingDisabled()) return;
    const std::string message = messageOf(*format.text(), values);
    log.appendTextToLog(message);
    if (waitsFor(characterCount(message), log.bytesInQueue())) finishWriting();
}

std::optional<std::string> QVLog::appendTrimmedWithArguments(FormatString format,
                                                             ArgumentSpan values) {
    if (!format.text() || sharedController().loggingDisabled()) return std::nullopt;
    std::string message(trimWhitespace(messageOf(*format.text(), values)));
    appendLog(message);
    return message;
}

void QVLog::appendAndPrintWithArguments(FormatString format, ArgumentSpan values) {
    const std::optional<std::string> message = appendTrimmedWithArguments(format, values);
    if (!message) return;
    std::string copy = replaceAll(replaceAll(*message, "%@", ""), "%", "%%");
    std::erase(copy, '\0');
    sharedController().print(copy + "\n");
}

void QVLog::appendTextToLog(std::string_view text) {
    text = trimWhitespace(text);
    if (text.empty()) return;
    const bool ascii = isAscii(text);
    const std::uint64_t characters = ascii ? text.size() : characterCount(text);
    bytesInQueue_.fetch_add(characters, std::memory_order_relaxed);
    if (ascii || isValidUtf8(text))
        lane_->add(text, characters);
    else
        lane_->add(replaceInvalidBytes(text), characters);
}

} // namespace quorvane
