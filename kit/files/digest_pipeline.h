// Digesting a stream of chunks while the next ones are read and written.
#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <thread>

#include "platform/Digests.h"

namespace quorvane {

/// Streams are read, digested and written in chunks of so many bytes.
inline constexpr std::size_t kChunkSize = 0x10000;

/// kChunkSize bytes; null when there is no memory for them.
using ChunkBuffer = std::unique_ptr<char[]>;
ChunkBuffer allocateChunk();

/// The buffers that chunks are read into, and the digest that they are fed to, if any. What is
/// longer than a few chunks is digested on a second thread, with a fixed number of buffers between
/// the two; where there is no memory or no thread for that, on the caller's. Used by one thread.
class DigestPipeline {
public:
    explicit DigestPipeline(std::optional<platform::DigestContext> context);
    ~DigestPipeline();
    DigestPipeline(const DigestPipeline&) = delete;
    DigestPipeline& operator=(const DigestPipeline&) = delete;

    /// False when there is no memory for the first buffer; nothing can be done then.
    bool allocate();
    /// Where the next chunk belongs; the same until that is fed.
    std::span<char> buffer();
    /// Digests the first bytes of the buffer.
    void feed(std::size_t count);
    /// The digest's context after everything that was fed; valid until more is.
    const platform::DigestContext& context();

private:
    /// One half is digested while the other is filled: waking a thread costs much of a chunk's
    /// digest, and is done once a half.
    static constexpr std::size_t kHalf = 8;
    static constexpr std::size_t kBuffers = 2 * kHalf;

    struct Chunk {
        ChunkBuffer bytes;
        std::size_t count = 0;
    };

    Chunk& chunk(std::uint64_t number) { return chunks_.at(number % kBuffers); }
    void startThread();
    void handOver();
    void waitUntilDone(std::uint64_t number);
    void run();

    std::optional<platform::DigestContext> context_; ///< of the second thread while it has chunks
    std::array<Chunk, kBuffers> chunks_;
    std::uint64_t fed_ = 0;       ///< chunks fed, from the start of the second thread on
    std::uint64_t knownDone_ = 0; ///< chunks digested when last asked

    std::mutex mutex_;
    std::condition_variable handedOver_;
    std::condition_variable reached_;
    std::uint64_t handed_ = 0;  ///< chunks that the second thread may digest
    std::uint64_t done_ = 0;    ///< chunks that it has digested
    std::uint64_t awaited_ = 0; ///< the number of them that the other thread waits for
    bool stopping_ = false;
    std::thread thread_; ///< the last member: it uses the others
};

} // namespace quorvane
