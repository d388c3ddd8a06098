// The application object on the Qt event loop.
#pragma once

#include "platform/Application.h"
#include "platform/qt/main_thread_queue.h"

#include <map>
#include <mutex>

namespace quorvane::platform::qt {

/// Made on the main thread after the QApplication. May outlive it: once `run` has returned, calls
/// of other threads return without effect.
class Application final : public platform::Application {
public:
    /// Turns the main loop until `terminate` and answers the exit status. The observers have run
    /// and all windows are gone when it returns.
    int run();

    std::shared_ptr<platform::Window> makeWindow(const WindowDescription& description) override;
    void runAlertPanel(const std::string& title, const std::string& message) override;
    void terminate() override;
    int addWillTerminateObserver(std::function<void()> observer) override;
    void removeWillTerminateObserver(int registration) override;
    bool isMainThread() const override { return queue_.isMainThread(); }
    void performOnMainThreadAndWait(const std::function<void()>& operation) override {
        queue_.performAndWait(operation);
    }
    bool processNextEvent(std::chrono::milliseconds limit) override;

private:
    std::function<void()> takeObserver();

    MainThreadQueue queue_;
    bool terminated_ = false;
    std::mutex observersMutex_;
    std::map<int, std::function<void()>> observers_;
    int lastRegistration_ = 0;
};

} // namespace quorvane::platform::qt
