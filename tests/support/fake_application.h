// An application without a screen: windows, alerts and the main thread, all in the test's hand.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Application.h"
#include "tests/support/journal.h"

namespace quorvane::testing {

/// Where performOnMainThreadAndWait performs.
enum class MainThread {
    /// On the calling thread, at once; while it runs there, that thread passes for the main one.
    inlined,
    /// On the main thread, when the test pumps it.
    pumped,
};

/// Journals, in these words:
/// "window.make TITLE", "window.front TITLE", "window.out TITLE", "checkBox.state OUTLET",
/// "progress.threaded OUTLET true|false", "progress.start OUTLET",
/// "application.alert TITLE | MESSAGE", "application.terminate",
/// "application.performOnMainThread".
class FakeApplication : public platform::Application {
public:
    /// The creating thread is the main thread.
    explicit FakeApplication(Journal& journal) : journal_(journal) {}

    std::shared_ptr<platform::Window>
    makeWindow(const platform::WindowDescription& description) override;
    void runAlertPanel(const std::string& title, const std::string& message) override;
    void terminate() override;
    int addWillTerminateObserver(std::function<void()> observer) override;
    void removeWillTerminateObserver(int registration) override;
    bool isMainThread() const override;
    void performOnMainThreadAndWait(const std::function<void()>& operation) override;
    bool processNextEvent(std::chrono::milliseconds limit) override;

    void setMainThread(std::thread::id thread) { mainThread_ = thread; }
    void setMode(MainThread mode) { mode_ = mode; }
    /// State of the check boxes with this outlet name; they are off at first.
    void setCheckBoxState(const std::string& outlet, int state);
    /// Performs the action of the button with this title, in whichever window it stands; false
    /// when there is no such button.
    bool press(const std::string& buttonTitle);
    /// Called while an alert is shown.
    void onAlert(std::function<void()> action) { alertAction_ = std::move(action); }
    /// Called whenever an event is asked for.
    void onNextEvent(std::function<void()> action) { eventAction_ = std::move(action); }
    /// Main thread: performs what other threads ask for until the condition holds; false when it
    /// does not within a minute.
    bool pumpUntil(const std::function<bool()>& condition);
    /// From now on nothing is performed any more, and waiting threads go on.
    void endLoop();

    /// How often an event was asked for.
    int eventsAskedFor() const { return eventsAskedFor_; }
    bool terminated() const { return terminated_; }
    /// Observers now registered.
    std::size_t observerCount() const;
    const std::vector<platform::WindowDescription>& windows() const { return windows_; }
    int checkBoxState(const std::string& outlet) const;

private:
    struct Request {
        const std::function<void()>* operation;
        bool done = false;
    };

    void performInline(const std::function<void()>& operation);
    bool performNext(std::chrono::milliseconds limit);
    void perform(Request& request);
    std::function<void()> observerAfter(int& registration);

    Journal& journal_;
    std::atomic<std::thread::id> mainThread_ = std::this_thread::get_id();
    std::atomic<MainThread> mode_ = MainThread::inlined;
    std::atomic<int> eventsAskedFor_ = 0;
    std::atomic<bool> terminated_ = false;
    std::function<void()> alertAction_;
    std::function<void()> eventAction_;
    std::vector<platform::WindowDescription> windows_;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::map<std::string, int> checkBoxStates_;
    std::map<int, std::function<void()>> observers_;
    int lastRegistration_ = 0;
    std::deque<Request*> requests_;
    bool loopEnded_ = false;
};

} // namespace quorvane::testing
