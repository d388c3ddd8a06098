// The one lane on which all lines are written.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

#include "kit/log/line_batch.h"

namespace quorvane {

/// A queue of write operations, one for each line, carried out strictly in the order of the calls
/// on a thread of its own. Adding copies a line to the end of a byte buffer and wakes the thread
/// only where it sleeps; it never waits for a write, so that pending lines are limited by memory
/// alone: a log may not lose lines while the disk is slow, and its callers may not stand still.
///
/// Lines that the lane's thread itself adds while it carries out an operation belong to that
/// operation: they are carried out right behind it, before what other threads have queued. A new
/// file therefore begins with its header, however much is pending.
class WriteLane {
public:
    /// Writes at least the first of the lines from `first` on, and as many more as it likes;
    /// answers the index behind the last one that it dealt with. Must not throw.
    using Writer = std::function<std::size_t(LineBatch& batch, std::size_t first)>;

    explicit WriteLane(Writer writer);
    /// Drops what is pending and waits for the line under way.
    ~WriteLane();
    WriteLane(const WriteLane&) = delete;
    WriteLane& operator=(const WriteLane&) = delete;

    /// Queues a line; does nothing after close. Any thread.
    void add(std::string_view text, std::uint64_t characters);
    /// How many operations are not finished, those under way included. Any thread.
    std::uint64_t operationCount() const;
    /// Returns when all operations queued before the call are finished or dropped; at once on the
    /// lane itself. Any thread.
    void waitUntilAllOperationsAreFinished();
    /// Drops all operations that are not under way, without waiting. Any thread.
    void cancelAllOperations();
    /// Lets no more lines in. Any thread.
    void close() { closed_ = true; }
    bool isClosed() const { return closed_; }
    /// Whether the caller runs on the lane's thread.
    bool isCurrentThread() const { return std::this_thread::get_id() == thread_.get_id(); }

private:
    /// What the thread is waiting for, if anything.
    enum class Rest : std::uint8_t { none, forALine, forAFullBatch };

    LineBatch& batchWithRoom(std::size_t length);
    void run();
    void gather(std::unique_lock<std::mutex>& lock);
    void carryOut(LineBatch batch);
    void carryOutOwn();
    void finish(std::uint64_t sequence);

    Writer writer_;
    std::atomic<bool> closed_ = false;

    mutable std::mutex mutex_;
    std::condition_variable work_;
    std::condition_variable progress_;
    std::vector<LineBatch> pending_;
    std::uint64_t added_ = 0;    ///< lines ever queued by other threads
    std::uint64_t finished_ = 0; ///< how many of them are finished or dropped
    int waiting_ = 0;
    Rest rest_ = Rest::none;
    bool stopping_ = false;

    std::atomic<std::uint64_t> cancelled_ = 0; ///< lines queued when the last cancel came
    std::atomic<std::uint64_t> ownCount_ = 0;
    LineBatch own_;              ///< of the lane's thread alone
    std::uint64_t sequence_ = 0; ///< of the lane's thread alone: the next line's number

    std::thread thread_; ///< the last member: it uses the others
};

} // namespace quorvane
