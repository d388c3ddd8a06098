#include "platform/linux/run_loop.h"

#include <cstdio>
#include <memory>
#include <utility>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

void RunLoop::run() {
    std::unique_lock lock(mutex_);
    while (!terminated_) {
        changed_.wait(lock, [this] { return terminated_ || !requests_.empty(); });
        if (terminated_) break;
        Request* request = takeRequest();
        lock.unlock();
        perform(*request);
        lock.lock();
    }
}

std::shared_ptr<Window> RunLoop::makeWindow(const WindowDescription& /*description*/) {
    throw Exception("ApplicationException", "This program has no windows");
}

void RunLoop::runAlertPanel(const std::string& title, const std::string& message) {
    std::fprintf(stderr, "%s\n%s\n", title.c_str(), message.c_str());
}

void RunLoop::terminate() {
    {
        const std::lock_guard lock(mutex_);
        if (terminated_) return;
        terminated_ = true;
    }
    while (const auto observer = takeObserver()) observer();
    const std::lock_guard lock(mutex_);
    ended_ = true;
    for (Request* request : std::exchange(requests_, {})) request->done = true;
    changed_.notify_all();
}

int RunLoop::addWillTerminateObserver(std::function<void()> observer) {
    const std::lock_guard lock(mutex_);
    observers_.emplace(++lastRegistration_, std::move(observer));
    return lastRegistration_;
}

void RunLoop::removeWillTerminateObserver(int registration) {
    const std::lock_guard lock(mutex_);
    observers_.erase(registration);
}

/// One at a time: an observer may take back itself or another.
std::function<void()> RunLoop::takeObserver() {
    const std::lock_guard lock(mutex_);
    if (observers_.empty()) return nullptr;
    return std::move(observers_.extract(observers_.begin()).mapped());
}

void RunLoop::performOnMainThreadAndWait(const std::function<void()>& operation) {
    if (isMainThread()) return operation();
    std::unique_lock lock(mutex_);
    if (ended_) return;
    Request request{&operation};
    requests_.push_back(&request);
    changed_.notify_all();
    changed_.wait(lock, [&request] { return request.done; });
}

bool RunLoop::processNextEvent(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, limit, [this] { return !requests_.empty(); })) return false;
    Request* request = takeRequest();
    lock.unlock();
    perform(*request);
    return true;
}

RunLoop::Request* RunLoop::takeRequest() {
    Request* request = requests_.front();
    requests_.pop_front();
    return request;
}

/// The caller goes on even when its operation throws.
void RunLoop::perform(Request& request) {
    const auto finish = [this](Request* finished) {
        const std::lock_guard lock(mutex_);
        finished->done = true;
        changed_.notify_all();
    };
    const std::unique_ptr<Request, decltype(finish)> guard(&request, finish);
    (*request.operation)();
}

} // namespace quorvane::platform::linux_
