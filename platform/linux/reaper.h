// Takes in children that nobody waits for, so that none stays behind as a zombie.
#pragma once

#include <mutex>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {

/// One thread for all such children, started with the first of them, sleeping while all of them
/// run. Any thread.
class Reaper {
public:
    /// The process's reaper, which lives as long as the process. Throws Exception when the process
    /// is out of descriptors.
    static Reaper& shared();

    /// Takes over a child by its process descriptor and reaps it when it ends.
    void adopt(Descriptor child) noexcept;

private:
    Reaper();
    void startThread();
    void reap(Descriptor child) const;
    void reapForever() const;

    Descriptor children_; // an epoll set of process descriptors
    std::mutex mutex_;
    bool started_ = false;
};

} // namespace quorvane::platform::linux_
