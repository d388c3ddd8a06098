// The whole uninstall without windows, both options on: what the benchmark measures.

#include <memory>

#include "app/AppController.h"
#include "platform/Application.h"
#include "platform/Services.h"
#include "platform/linux/services.h"

namespace {

using namespace quorvane;

struct Ticked : platform::CheckBox {
    int state() const override { return kOn; }
};

struct NoWindow : platform::Window {
    void makeKeyAndOrderFront() override {}
    void orderOut() override {}
    std::shared_ptr<platform::CheckBox> checkBox(const std::string&) override {
        return std::make_shared<Ticked>();
    }
    std::shared_ptr<platform::ProgressIndicator> progressIndicator(const std::string&) override {
        return nullptr;
    }
};

/// This thread plays the worker; what it asks of the main thread is done at once.
struct NoScreen : platform::Application {
    std::shared_ptr<platform::Window> makeWindow(const platform::WindowDescription&) override {
        return std::make_shared<NoWindow>();
    }
    void runAlertPanel(const std::string&, const std::string&) override {}
    void terminate() override {}
    int addWillTerminateObserver(std::function<void()>) override { return 0; }
    void removeWillTerminateObserver(int) override {}
    bool isMainThread() const override { return false; }
    void performOnMainThreadAndWait(const std::function<void()>& operation) override {
        operation();
    }
    bool processNextEvent(std::chrono::milliseconds) override { return false; }
};

} // namespace

int main() {
    // Threads that still write to the log use them to the very end of the process.
    static const auto& services =
        *new platform::Services(platform::linux_::makeServices(std::make_shared<NoScreen>()));
    platform::installServices(&services);
    const auto window = std::make_shared<NoWindow>();
    brightkeel::AppController controller;
    controller.setOutlets({.windowMain = window,
                           .removeSharedCheck = std::make_shared<Ticked>(),
                           .removeConfigCheck = std::make_shared<Ticked>(),
                           .windowProgress = window,
                           .progressBar = nullptr});
    controller.beginUninstall();
}
