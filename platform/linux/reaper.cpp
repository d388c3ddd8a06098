#include "platform/linux/reaper.h"

#include <array>
#include <system_error>
#include <thread>

#include <sys/epoll.h>
#include <sys/wait.h>

#include "platform/linux/signals_blocked.h"

namespace quorvane::platform::linux_ {

Reaper& Reaper::shared() {
    // Never destroyed: its thread and late owners of processes outlive static objects.
    static auto& reaper = *new Reaper;
    return reaper;
}

Reaper::Reaper() : children_(::epoll_create1(EPOLL_CLOEXEC)) {
    if (!children_) throw Exception("ProcessException", systemError().text);
}

void Reaper::adopt(Descriptor child) noexcept {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = child.get();
    // Without kernel memory for one more the child stays a zombie until this process ends.
    if (::epoll_ctl(children_.get(), EPOLL_CTL_ADD, child.get(), &event) != 0) return;
    child.release();
    startThread();
}

void Reaper::startThread() {
    const std::lock_guard lock(mutex_);
    if (started_) return;
    const SignalsBlocked blocked;
    try {
        std::thread([this] { reapForever(); }).detach();
        started_ = true;
    } catch (const std::system_error&) {
        // Too many threads now: the next adoption tries again, and reaps this child too.
    }
}

void Reaper::reap(Descriptor child) const {
    // Closing alone would not take it out of the set: a child that another thread is just spawning
    // still holds a copy.
    ::epoll_ctl(children_.get(), EPOLL_CTL_DEL, child.get(), nullptr);
    siginfo_t info{};
    ::waitid(P_PIDFD, static_cast<id_t>(child.get()), &info, WEXITED | WNOHANG);
}

void Reaper::reapForever() const {
    std::array<epoll_event, 16> ended{};
    while (true) {
        const int count = retryInterrupted([&] {
            return ::epoll_wait(children_.get(), ended.data(), static_cast<int>(ended.size()), -1);
        });
        for (int index = 0; index < count; ++index)
            reap(Descriptor(ended.at(static_cast<std::size_t>(index)).data.fd));
    }
}

} // namespace quorvane::platform::linux_
