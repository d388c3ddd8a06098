// Bounds for what a test waits for, generous enough for busy machines.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <thread>

namespace quorvane::testing {

inline constexpr std::chrono::seconds kGenerousLimit{60};

/// Whether the condition comes true in time. It is asked again and again.
inline bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kGenerousLimit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

/// Ends the test program when this lives too long: a read, a join or a wait that hangs cannot be
/// called off.
class TimeLimit {
public:
    TimeLimit() : thread_([this] { watch(); }) {}
    ~TimeLimit() {
        {
            const std::lock_guard lock(mutex_);
            over_ = true;
        }
        ended_.notify_all();
        thread_.join();
    }
    TimeLimit(const TimeLimit&) = delete;
    TimeLimit& operator=(const TimeLimit&) = delete;

private:
    void watch() {
        std::unique_lock lock(mutex_);
        if (ended_.wait_for(lock, kGenerousLimit, [this] { return over_; })) return;
        std::fputs("The test hangs.\n", stderr);
        std::abort();
    }

    std::mutex mutex_;
    std::condition_variable ended_;
    bool over_ = false;
    std::thread thread_; // the last member: it uses the others
};

} // namespace quorvane::testing
