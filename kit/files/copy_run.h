// The streams of a copy with progress, and the loop that moves the bytes.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "kit/files/cancel_flag.h"
#include "kit/files/copy_destination.h"
#include "kit/files/digest_pipeline.h"
#include "kit/files/file_copy.h"
#include "platform/FileManager.h"

namespace quorvane {

/// One copy of one source to its destinations. Streams stay open after a failure, until the process
/// ends: by them `fileIsOpenForWriting:` tells other tools that a half-made destination is not to
/// be used. Used by one thread.
class CopyRun {
public:
    CopyRun(platform::FileManager& files, CopySettings settings,
            std::optional<platform::DigestContext> digest)
        : files_(files), settings_(std::move(settings)), verifies_(digest.has_value()),
          digest_(std::move(digest)) {}

    /// The opening of the source, of the destinations, and the copying, in this order. Each logs
    /// its failure and answers false.
    bool openSource();
    bool openDestinations();
    /// The size decides how often the delegate is told. True too when the delegate cancelled.
    bool copy(std::uint64_t sourceSize);
    void close();

    bool wasCancelled() const { return cancelled_.isSet(); }
    /// Of the source that were copied.
    std::uint64_t bytes() const { return bytes_; }
    const std::vector<CopyDestination>& destinations() const { return destinations_; }
    /// Of everything that was read from the source.
    const platform::DigestContext& sourceDigest() { return digest_.context(); }

private:
    bool isSource(const Path& destination) const;
    void writeChunk(std::string_view chunk, std::span<char> readBack);
    void report() const;

    platform::FileManager& files_;
    CopySettings settings_;
    bool verifies_;
    DigestPipeline digest_;
    CancelFlag cancelled_;
    platform::StreamHandle source_{};
    std::vector<CopyDestination> destinations_;
    std::uint64_t bytes_ = 0;
};

} // namespace quorvane
