// Files that other processes are making or writing.

#include "kit/files/QVFileManager.h"

#include "kit/base/characters.h"
#include "kit/log/QVLog.h"
#include "kit/tasks/QVTaskEx.h"
#include "platform/Queues.h"
#include "platform/Services.h"

namespace quorvane {
namespace {

constexpr double kPause = 0.0005; // seconds
/// A file that was not modified for longer than this is taken for finished.
constexpr std::chrono::seconds kQuietPeriod{5};

constexpr const char* kOpenFilesTool = "/usr/sbin/lsof";
constexpr std::chrono::seconds kOpenFilesTimeout{3};

void pause() { platform::services().queues->sleepFor(kPause); }

bool isRecent(platform::FileTime date) {
    return date >= std::chrono::system_clock::now() - kQuietPeriod;
}

bool hasContent(const Path& file) {
    if (!QVFileManager::fileExistsAtPath(file)) return false;
    const auto attributes = platform::services().makeFileManager()->attributes(file);
    return attributes && attributes.value().size != 0;
}

} // namespace

void QVFileManager::waitForFileCreation(const MaybePath& file, std::chrono::seconds timeout) {
    // The look itself takes no whole second, so only a negative time-out is over by now.
    if (!file || hasContent(*file) || timeout.count() < 0) return;
    QVLog::appendLog("File %@ is not yet created. Waiting...", file);
    pause();
}

void QVFileManager::waitForFileWrites(const MaybePath& file, const MaybePath& lockFile) {
    if (!file) return;
    auto modified = modificationDateForFile(file);
    if (!(modified && isRecent(*modified)) && !fileExistsAtPath(lockFile)) return;
    QVLog::appendLog("File %@ is currently being written to. Waiting...", file);
    // A file without a date has not been made yet, or is being replaced.
    while (!modified || isRecent(*modified)) {
        pause();
        modified = modificationDateForFile(file);
    }
    QVLog::appendLog("File %@ finished writing.", file);
}

bool QVFileManager::fileIsOpenForWriting(const MaybePath& file) {
    if (!file) return false;
    // One argument with a blank: the fields to print, of which the access mode matters ("w" for
    // writing, "u" for both).
    const MaybeText listing = QVTaskEx::stringFromTask(kOpenFilesTool, {"-F a", "-w", *file},
                                                       TextEncoding::utf8, kOpenFilesTimeout);
    return listing && listing->find_first_of("wu") != std::string::npos;
}

} // namespace quorvane
