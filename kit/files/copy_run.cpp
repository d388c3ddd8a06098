#include "kit/files/copy_run.h"

#include <algorithm>

#include "kit/auth/console.h"
#include "kit/log/QVLog.h"

namespace quorvane {
namespace {

/// The delegate is told after so many bytes, or after a 500th of the source where that is more.
constexpr std::uint64_t kLeastInterval = 20'971'520;
constexpr std::uint64_t kMostReports = 500;

} // namespace

bool CopyRun::openSource() {
    const auto opened = files_.openForReading(settings_->source());
    if (opened) {
        source_ = opened.value();
        return true;
    }
    logToConsole("Error: Unable to read source file %@. Aborting copy process...",
                 settings_->source());
    return false;
}

bool CopyRun::openDestinations() {
    for (const Path& path : settings_->destinations()) {
        const auto opened = isSource(path) ? platform::Error{} : files_.openTruncated(path);
        if (!opened) {
            logToConsole("Error: Unable to open destination file %@. Aborting copy process...",
                         path);
            return false;
        }
        destinations_.emplace_back(files_, path, opened.value());
    }
    return true;
}

/// Opening the source as a destination would empty it before it is copied.
bool CopyRun::isSource(const Path& destination) const {
    const platform::Existence there = files_.existence(destination);
    return there.exists && there.identity == files_.existence(settings_->source()).identity;
}

bool CopyRun::copy(std::uint64_t sourceSize) {
    const ChunkBuffer readBack = allocateChunk();
    if (!readBack || !digest_.allocate()) {
        QVLog::appendLogAndPrint("Error copying file %@ - out of memory", settings_->source());
        return false;
    }
    const std::uint64_t interval = std::max(sourceSize / kMostReports, kLeastInterval);
    std::uint64_t reported = 0;
    for (bool atEnd = false; !atEnd && !cancelled_.isSet();) {
        const std::span<char> buffer = digest_.buffer();
        const platform::StreamRead read = files_.read(source_, buffer);
        if (read.count == 0 && read.error) {
            QVLog::appendLogAndPrint("Error reading file %@ - aborting...", settings_->source());
            return false;
        }
        atEnd = read.atEnd;
        if (read.count == 0 && atEnd) break;
        writeChunk({buffer.data(), read.count}, {readBack.get(), kChunkSize});
        digest_.feed(read.count);
        bytes_ += read.count;
        if (bytes_ - reported < interval) continue;
        reported = bytes_;
        report();
    }
    return true;
}

void CopyRun::writeChunk(std::string_view chunk, std::span<char> readBack) {
    for (CopyDestination& destination : destinations_) {
        if (cancelled_.isSet()) return;
        destination.write(chunk);
        if (verifies_ && !chunk.empty()) destination.readBack(chunk, bytes_, readBack, digest_);
    }
}

/// The copy does not wait for the delegate, which is kept alive with the settings.
void CopyRun::report() const {
    const FileCopyDelegate* delegate = settings_->delegate().get();
    if (delegate == nullptr) return;
    if (delegate->fileCopyBytesWritten)
        platform::services().queues->dispatchAsync([settings = settings_, bytes = bytes_] {
            settings->delegate()->fileCopyBytesWritten(bytes, settings);
        });
    if (delegate->fileCopyShouldContinue)
        cancelled_.ask([settings = settings_] {
            return settings->delegate()->fileCopyShouldContinue(settings);
        });
}

void CopyRun::close() {
    files_.close(source_);
    for (CopyDestination& destination : destinations_) destination.close();
}

} // namespace quorvane
