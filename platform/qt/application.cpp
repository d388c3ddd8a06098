#include "platform/qt/application.h"

#include "platform/qt/window.h"

#include <QAbstractEventDispatcher>
#include <QAccessible>
#include <QApplication>
#include <QEventLoop>
#include <QTimer>

namespace quorvane::platform::qt {

int Application::run() {
    const int status = terminated_ ? 0 : QCoreApplication::exec();
    terminate(); // the loop may have ended in another way, such as the end of the session
    queue_.end();
    qDeleteAll(QApplication::topLevelWidgets());
    return status;
}

std::shared_ptr<platform::Window> Application::makeWindow(const WindowDescription& description) {
    return std::make_shared<Window>(description);
}

void Application::runAlertPanel(const std::string& title, const std::string& message) {
    QEventLoop loop;
    const auto dismiss = [&loop] { loop.quit(); };
    const Button button{.title = "&OK",
                        .description = "Closes this message",
                        .key = Button::Key::enter,
                        .prominent = true,
                        .action = dismiss};
    WindowWidget alert({.title = title,
                        .elements = {IconElement{}, TextElement{title, TextElement::Style::heading},
                                     TextElement{message}, ButtonRow{{button}}},
                        .closeAction = dismiss});
    alert.setAccessibleDescription(QString::fromStdString(message));
    alert.setWindowModality(Qt::ApplicationModal);
    alert.present();
    QAccessibleEvent announcement(&alert, QAccessible::Alert);
    QAccessible::updateAccessibility(&announcement);
    loop.exec();
}

void Application::terminate() {
    if (terminated_) return;
    terminated_ = true;
    while (const auto observer = takeObserver()) observer();
    // Not quit(), which asks every window for its leave first.
    QCoreApplication::exit(0);
}

int Application::addWillTerminateObserver(std::function<void()> observer) {
    const std::lock_guard lock(observersMutex_);
    observers_.emplace(++lastRegistration_, std::move(observer));
    return lastRegistration_;
}

void Application::removeWillTerminateObserver(int registration) {
    const std::lock_guard lock(observersMutex_);
    observers_.erase(registration);
}

/// The observers come out one at a time, since one of them may take back itself or another.
std::function<void()> Application::takeObserver() {
    const std::lock_guard lock(observersMutex_);
    if (observers_.empty()) return nullptr;
    return std::move(observers_.extract(observers_.begin()).mapped());
}

bool Application::processNextEvent(std::chrono::milliseconds limit) {
    bool expired = false;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    timer.callOnTimeout([&expired] { expired = true; });
    timer.start(limit);
    const bool dispatched =
        QAbstractEventDispatcher::instance()->processEvents(QEventLoop::WaitForMoreEvents);
    return dispatched && !expired;
}

} // namespace quorvane::platform::qt
