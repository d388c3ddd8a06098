// The application framework: main loop, main thread, termination, windows and the alert panel.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "platform/Interface.h"

namespace quorvane::platform {

/// A check box of a window.
class CheckBox {
public:
    static constexpr int kOn = 1;
    static constexpr int kOff = 0;
    static constexpr int kMixed = -1;

    virtual ~CheckBox() = default;
    /// kOn, kOff or kMixed. Any thread.
    virtual int state() const = 0;
};

/// An indeterminate progress bar. Main thread.
class ProgressIndicator {
public:
    virtual ~ProgressIndicator() = default;
    /// Whether the animation goes on while the main thread is busy, where the framework can do
    /// that.
    virtual void setUsesThreadedAnimation(bool threaded) = 0;
    virtual void startAnimation() = 0;
};

/// A window made from a WindowDescription; hidden until ordered front. Main thread.
class Window {
public:
    virtual ~Window() = default;
    /// Shows the window in front of the others and gives it the keyboard.
    virtual void makeKeyAndOrderFront() = 0;
    /// Hides the window.
    virtual void orderOut() = 0;
    /// The element that the description gave this outlet name; null if there is none.
    virtual std::shared_ptr<CheckBox> checkBox(const std::string& outlet) = 0;
    virtual std::shared_ptr<ProgressIndicator> progressIndicator(const std::string& outlet) = 0;
};

/// The process's application object.
class Application {
public:
    virtual ~Application() = default;

    /// Builds a window. Main thread; throws Exception where the process has no windows.
    virtual std::shared_ptr<Window> makeWindow(const WindowDescription& description) = 0;
    /// Shows a modal alert with the framework's single default button and returns when it is
    /// dismissed. Main thread.
    virtual void runAlertPanel(const std::string& title, const std::string& message) = 0;

    /// Ends the application: runs the will-terminate observers, then lets the main loop return.
    /// A second call does nothing. Main thread.
    virtual void terminate() = 0;
    /// Adds an observer of the will-terminate notice, called on the main thread; returns its
    /// registration. Any thread.
    virtual int addWillTerminateObserver(std::function<void()> observer) = 0;
    /// Takes an observer back; unknown registrations are ignored. Any thread, the observer
    /// included.
    virtual void removeWillTerminateObserver(int registration) = 0;

    virtual bool isMainThread() const = 0;
    /// Performs the operation on the main thread's event loop and returns when it has returned;
    /// on the main thread itself, at once. Where the loop has ended, it returns without performing.
    virtual void performOnMainThreadAndWait(const std::function<void()>& operation) = 0;
    /// Takes at most one pending event, or the batch that the windowing system delivered as one,
    /// waiting for it no longer than the limit, and dispatches it. At most one operation of
    /// performOnMainThreadAndWait is among it. Answers whether there was one. Main thread.
    virtual bool processNextEvent(std::chrono::milliseconds limit) = 0;
};

/// Builds the interface once the framework is up, before the main loop turns. Main thread.
using InterfaceLoader = void (*)(Application& application);

/// The application main function: installs the platform's services, loads the interface, turns the
/// main loop until the application terminates, and answers the process's exit status.
int applicationMain(int argc, char** argv, InterfaceLoader loadInterface);

} // namespace quorvane::platform
