#include "platform/qt/main_thread_queue.h"

#include <QCoreApplication>
#include <QScopeGuard>

namespace quorvane::platform::qt {

MainThreadQueue::MainThreadQueue()
    : wakeEvent_(static_cast<QEvent::Type>(QEvent::registerEventType())) {}

void MainThreadQueue::performAndWait(const std::function<void()>& operation) {
    if (isMainThread()) {
        operation();
        return;
    }
    std::unique_lock lock(mutex_);
    if (ended_) return;
    Request request{&operation};
    requests_.push_back(&request);
    if (requests_.size() == 1) wake();
    finished_.wait(lock, [&request] { return request.done; });
}

void MainThreadQueue::end() {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    for (Request* request : requests_) request->done = true;
    requests_.clear();
    finished_.notify_all();
}

bool MainThreadQueue::event(QEvent* event) {
    if (event->type() != wakeEvent_) return QObject::event(event);
    Request* request = takeRequest();
    if (request == nullptr) return true;
    // Also when the operation throws: its caller must not wait for ever.
    const auto guard = qScopeGuard([this, request] { finish(*request); });
    (*request->operation)();
    return true;
}

MainThreadQueue::Request* MainThreadQueue::takeRequest() {
    const std::lock_guard lock(mutex_);
    if (requests_.empty()) return nullptr;
    Request* request = requests_.front();
    requests_.pop_front();
    // The next one comes in a turn of its own, so that a caller who steps the event loop sees his
    // condition between two operations; and before this one runs, which may turn the loop itself.
    if (!requests_.empty()) wake();
    return request;
}

void MainThreadQueue::finish(Request& request) {
    const std::lock_guard lock(mutex_);
    request.done = true;
    finished_.notify_all();
}

void MainThreadQueue::wake() { QCoreApplication::postEvent(this, new QEvent(wakeEvent_)); }

} // namespace quorvane::platform::qt
