#include "kit/log/write_lane.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace quorvane {
namespace {

/// Room of a batch: big enough to make writes cheap, small enough to stay in the processor's cache
/// and to be allocated in no time while callers wait for the lock.
constexpr std::size_t kBatchBytes = 65536;

/// After a write the thread lets lines gather for so long, unless somebody waits for them: waking a
/// thread costs as much as a dozen lines.
constexpr std::chrono::microseconds kGatherTime{100};

} // namespace

WriteLane::WriteLane(Writer writer) : writer_(std::move(writer)), thread_([this] { run(); }) {}

WriteLane::~WriteLane() {
    cancelAllOperations();
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    work_.notify_one();
    thread_.join();
}

void WriteLane::add(std::string_view text, std::uint64_t characters) {
    if (isClosed()) return;
    if (isCurrentThread()) {
        own_.append(text, characters);
        ++ownCount_;
        return;
    }
    std::unique_lock lock(mutex_);
    batchWithRoom(LineBatch::kPrefixLength + text.size() + 1).append(text, characters);
    ++added_;
    const bool wakes =
        rest_ == Rest::forALine || (rest_ == Rest::forAFullBatch && pending_.size() > 1);
    if (!wakes) return;
    rest_ = Rest::none;
    lock.unlock();
    work_.notify_one();
}

LineBatch& WriteLane::batchWithRoom(std::size_t length) {
    if (pending_.empty() || pending_.back().bytes.size() + length > kBatchBytes)
        pending_.emplace_back().bytes.reserve(std::max(kBatchBytes, length));
    return pending_.back();
}

std::uint64_t WriteLane::operationCount() const {
    const std::lock_guard lock(mutex_);
    return added_ - finished_ + ownCount_;
}

void WriteLane::waitUntilAllOperationsAreFinished() {
    if (isCurrentThread()) return;
    std::unique_lock lock(mutex_);
    ++waiting_;
    work_.notify_one();
    progress_.wait(lock, [this, last = added_] { return finished_ >= last; });
    --waiting_;
}

void WriteLane::cancelAllOperations() {
    const std::lock_guard lock(mutex_);
    cancelled_ = added_;
}

void WriteLane::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        while (pending_.empty() && !stopping_) {
            rest_ = Rest::forALine;
            work_.wait(lock);
        }
        rest_ = Rest::none;
        if (pending_.empty()) return;
        std::vector<LineBatch> taken = std::exchange(pending_, {});
        lock.unlock();
        for (LineBatch& batch : taken) carryOut(std::move(batch));
        lock.lock();
        gather(lock);
    }
}

void WriteLane::gather(std::unique_lock<std::mutex>& lock) {
    rest_ = Rest::forAFullBatch;
    work_.wait_for(lock, kGatherTime,
                   [this] { return pending_.size() > 1 || waiting_ > 0 || stopping_; });
    rest_ = Rest::none;
}

void WriteLane::carryOut(LineBatch batch) {
    const std::uint64_t firstSequence = sequence_;
    for (std::size_t next = 0; next < batch.lines.size(); finish(sequence_)) {
        const std::uint64_t cancelled = cancelled_;
        if (cancelled > sequence_) {
            next = std::min<std::size_t>(cancelled - firstSequence, batch.lines.size());
        } else {
            next = writer_(batch, next);
            carryOutOwn();
        }
        sequence_ = firstSequence + next;
    }
}

void WriteLane::carryOutOwn() {
    while (!own_.lines.empty()) {
        LineBatch batch = std::exchange(own_, {});
        for (std::size_t next = 0; next < batch.lines.size() && cancelled_ <= sequence_;)
            next = writer_(batch, next);
        ownCount_ -= batch.lines.size();
    }
}

void WriteLane::finish(std::uint64_t sequence) {
    const std::lock_guard lock(mutex_);
    finished_ = sequence;
    if (waiting_ > 0) progress_.notify_all();
}

} // namespace quorvane
