// One destination of a copy with progress.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "kit/files/digest_pipeline.h"
#include "platform/FileManager.h"

namespace quorvane {

/// An open destination. It is judged on its own: its digest is that of what was read back from it,
/// chunk by chunk. As long as that equals what was written, it is the source's digest, which is not
/// computed twice; from the first difference on the destination has one of its own.
class CopyDestination {
public:
    CopyDestination(platform::FileManager& files, Path path, platform::StreamHandle handle)
        : files_(&files), path_(std::move(path)), handle_(handle) {}

    const Path& path() const { return path_; }
    /// Writes a chunk at the stream's position. A failure goes to the console log, no further.
    void write(std::string_view chunk);
    /// Reads back what was just written at the offset, into a buffer of the chunk's size at least.
    /// The source's digest must not have been fed the chunk yet.
    void readBack(std::string_view chunk, std::uint64_t offset, std::span<char> buffer,
                  DigestPipeline& source);
    /// Of everything that was read back, beside that of the source.
    platform::DigestContext digest(const platform::DigestContext& source) const {
        return own_ ? *own_ : source;
    }
    void close() { files_->close(handle_); }

private:
    void seekTo(std::uint64_t offset, std::size_t size);

    platform::FileManager* files_;
    Path path_;
    platform::StreamHandle handle_;
    int failed_ = 0; ///< the stream's error indicator: 1 after the first failure to write or read
    std::optional<platform::DigestContext> own_;
};

} // namespace quorvane
