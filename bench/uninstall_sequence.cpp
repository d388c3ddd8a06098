// uninstall_sequence [--without-shared] [--without-config]
//
// The whole uninstall without windows, both options on unless told otherwise: what the benchmark
// measures, and what tests of outcomes run many times.

#include <algorithm>
#include <memory>
#include <span>
#include <string_view>

#include "app/AppController.h"
#include "platform/Application.h"
#include "platform/Services.h"
#include "platform/linux/services.h"

namespace {

using namespace quorvane;

struct Ticked : platform::CheckBox {
    explicit Ticked(bool on = true) : on_(on) {}
    int state() const override { return on_ ? kOn : 0; }

private:
    bool on_;
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

int main(int argc, char** argv) {
    const std::span<char*> words(argv, static_cast<std::size_t>(argc));
    const auto ticked = [words](std::string_view without) {
        return std::make_shared<Ticked>(std::ranges::find(words, without) == words.end());
    };
    // Never destroyed: the log's thread uses them to the very end of the process.
    const auto* const services =
        new platform::Services(platform::linux_::makeServices(std::make_shared<NoScreen>()));
    platform::installServices(services);
    const auto window = std::make_shared<NoWindow>();
    const brightkeel::UninstallerServices uninstallerServices;
    brightkeel::AppController controller(uninstallerServices);
    controller.setOutlets({.windowMain = window,
                           .removeSharedCheck = ticked("--without-shared"),
                           .removeConfigCheck = ticked("--without-config"),
                           .windowProgress = window,
                           .progressBar = nullptr});
    controller.beginUninstall();
}
