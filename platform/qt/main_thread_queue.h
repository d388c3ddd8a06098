// Operations that other threads want performed on the main thread's event loop.
#pragma once

#include <QEvent>
#include <QObject>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace quorvane::platform::qt {

/// Made on the main thread. Must outlive every thread that may call performAndWait.
class MainThreadQueue final : public QObject {
public:
    MainThreadQueue();

    bool isMainThread() const { return std::this_thread::get_id() == mainThread_; }
    /// Performs the operation in a turn of the event loop and returns when it has returned or
    /// thrown; on the main thread, at once; after end, never. Any thread.
    void performAndWait(const std::function<void()>& operation);
    /// Lets every waiting caller go without its operation, later ones too. Main thread.
    void end();

protected:
    bool event(QEvent* event) override;

private:
    struct Request {
        const std::function<void()>* operation = nullptr;
        bool done = false;
    };

    Request* takeRequest();
    void finish(Request& request);
    void wake();

    const std::thread::id mainThread_ = std::this_thread::get_id();
    const QEvent::Type wakeEvent_;
    std::mutex mutex_;
    std::condition_variable finished_;
    /// Not empty means that one wake event is on its way.
    std::deque<Request*> requests_;
    bool ended_ = false;
};

} // namespace quorvane::platform::qt
