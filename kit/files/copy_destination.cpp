#include "kit/files/copy_destination.h"

#include "kit/auth/console.h"

namespace quorvane {

void CopyDestination::write(std::string_view chunk) {
    const auto written = files_->write(handle_, chunk);
    if (written && written.value() == chunk.size()) return;
    failed_ = 1;
    logToConsole("Error writing file %@: %i", path_, failed_);
}

void CopyDestination::readBack(std::string_view chunk, std::uint64_t offset, std::span<char> buffer,
                               DigestPipeline& source) {
    seekTo(offset, chunk.size());
    // After a failure to seek there is nothing to read, which tells the destination from the
    // source.
    const platform::StreamRead read = files_->read(handle_, buffer.first(chunk.size()));
    if (read.error) {
        failed_ = 1;
        // The next chunk belongs behind this one, whether this one can be read or not.
        (void)files_->seek(handle_, offset + chunk.size());
    }
    const std::string_view found = {buffer.data(), read.count};
    if (!own_ && found == chunk) return;
    if (!own_) own_ = source.context();
    own_->update(found);
}

void CopyDestination::seekTo(std::uint64_t offset, std::size_t size) {
    const auto moved = files_->seek(handle_, offset);
    if (moved) return;
    logToConsole("Error: unable to seek within file %@", path_);
    logToConsole("cur pos: %llu", offset);
    logToConsole("read size: %zu", size);
    logToConsole("errno: %i", moved.error().code);
    logToConsole("err: %i", failed_);
}

} // namespace quorvane
