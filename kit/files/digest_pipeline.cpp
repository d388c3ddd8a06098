#include "kit/files/digest_pipeline.h"

#include <exception>
#include <new>
#include <utility>

namespace quorvane {
namespace {

/// A thread costs as much as digesting so many chunks.
constexpr std::uint64_t kChunksWithoutThread = 4;

} // namespace

ChunkBuffer allocateChunk() { return ChunkBuffer(new (std::nothrow) char[kChunkSize]); }

DigestPipeline::DigestPipeline(std::optional<platform::DigestContext> context)
    : context_(std::move(context)) {}

DigestPipeline::~DigestPipeline() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    handedOver_.notify_one();
    thread_.join();
}

bool DigestPipeline::allocate() {
    chunks_.front().bytes = allocateChunk();
    return chunks_.front().bytes != nullptr;
}

std::span<char> DigestPipeline::buffer() {
    if (!thread_.joinable()) return {chunks_.front().bytes.get(), kChunkSize};
    if (fed_ == knownDone_ + kBuffers) {
        handOver();
        waitUntilDone(fed_ - kHalf);
    }
    return {chunk(fed_).bytes.get(), kChunkSize};
}

void DigestPipeline::feed(std::size_t count) {
    if (!context_) return;
    if (!thread_.joinable()) {
        context_->update({chunks_.front().bytes.get(), count});
        if (++fed_ == kChunksWithoutThread) startThread();
        return;
    }
    chunk(fed_).count = count;
    if (++fed_ == handed_ + kHalf) handOver();
}

const platform::DigestContext& DigestPipeline::context() {
    if (thread_.joinable()) {
        handOver();
        waitUntilDone(fed_);
    }
    return *context_;
}

void DigestPipeline::startThread() {
    for (Chunk& each : chunks_) {
        if (!each.bytes) each.bytes = allocateChunk();
        if (!each.bytes) return;
    }
    try {
        thread_ = std::thread([this] { run(); });
        fed_ = 0;
    } catch (const std::exception&) { // no thread or no memory: the caller's goes on alone
    }
}

void DigestPipeline::handOver() {
    {
        const std::lock_guard lock(mutex_);
        handed_ = fed_;
    }
    handedOver_.notify_one();
}

void DigestPipeline::waitUntilDone(std::uint64_t number) {
    std::unique_lock lock(mutex_);
    awaited_ = number;
    reached_.wait(lock, [&] { return done_ >= number; });
    knownDone_ = done_;
}

void DigestPipeline::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        handedOver_.wait(lock, [this] { return stopping_ || done_ < handed_; });
        if (stopping_) return;
        const Chunk& next = chunk(done_);
        lock.unlock();
        context_->update({next.bytes.get(), next.count});
        lock.lock();
        if (++done_ == awaited_) reached_.notify_one();
    }
}

} // namespace quorvane
