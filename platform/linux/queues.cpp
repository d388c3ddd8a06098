#include "platform/linux/queues.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/linux/concurrent_queue.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

using Seconds = std::chrono::duration<double>;

/// Longer sleeps do not fit the clock. A century of sleep is as good as any other.
constexpr Seconds kLongestSleep{100.0 * 365 * 24 * 3600};

class StandardQueues : public Queues {
public:
    void detachThread(std::function<void()> operation) override {
        try {
            std::thread(std::move(operation)).detach();
        } catch (const std::system_error& error) {
            throw Exception("ThreadException", systemError(error.code().value()).text);
        }
    }

    void dispatchAsync(std::function<void()> operation) override {
        concurrentQueue().add(std::move(operation));
    }

    void sleepFor(double seconds) override {
        if (seconds > 0) std::this_thread::sleep_for(std::min(Seconds(seconds), kLongestSleep));
    }

    double uptime() override {
        return Seconds(std::chrono::steady_clock::now().time_since_epoch()).count();
    }
};

} // namespace

std::shared_ptr<Queues> makeQueues() { return std::make_shared<StandardQueues>(); }

} // namespace quorvane::platform::linux_
