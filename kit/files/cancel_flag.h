// How a delegate's answer on another thread reaches the loop that asked.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

#include "platform/Queues.h"
#include "platform/Services.h"

namespace quorvane {

/// Set by the answers that come, and outlived by those that come too late. Any thread.
class CancelFlag {
public:
    bool isSet() const { return flag_->load(std::memory_order_relaxed); }

    /// Asks on the concurrent queue, without waiting for it, whether to go on.
    void ask(std::function<bool()> shouldContinue) const {
        platform::services().queues->dispatchAsync(
            [flag = flag_, shouldContinue = std::move(shouldContinue)] {
                if (!shouldContinue()) flag->store(true, std::memory_order_relaxed);
            });
    }

private:
    std::shared_ptr<std::atomic<bool>> flag_ = std::make_shared<std::atomic<bool>>(false);
};

} // namespace quorvane
