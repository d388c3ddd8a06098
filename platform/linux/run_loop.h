// The application object of programs without windows.
#pragma once

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <thread>

#include "platform/Application.h"

namespace quorvane::platform::linux_ {

/// The thread that makes it is the main thread. It must outlive every thread that may call it.
class RunLoop : public Application {
public:
    /// Performs what other threads ask for until `terminate`; from then on nothing is performed any
    /// more, and threads that wait go on. Main thread.
    void run();

    /// Throws Exception: there are no windows here.
    std::shared_ptr<Window> makeWindow(const WindowDescription& description) override;
    /// Prints both texts to standard error; there is nobody to dismiss them.
    void runAlertPanel(const std::string& title, const std::string& message) override;
    void terminate() override;
    int addWillTerminateObserver(std::function<void()> observer) override;
    void removeWillTerminateObserver(int registration) override;
    bool isMainThread() const override { return std::this_thread::get_id() == mainThread_; }
    void performOnMainThreadAndWait(const std::function<void()>& operation) override;
    bool processNextEvent(std::chrono::milliseconds limit) override;

private:
    struct Request {
        const std::function<void()>* operation = nullptr;
        bool done = false;
    };

    Request* takeRequest();
    void perform(Request& request);
    std::function<void()> takeObserver();

    const std::thread::id mainThread_ = std::this_thread::get_id();
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Request*> requests_;
    std::map<int, std::function<void()>> observers_;
    int lastRegistration_ = 0;
    bool terminated_ = false;
    bool ended_ = false;
};

} // namespace quorvane::platform::linux_
