#include "tests/support/fake_application.h"

#include <algorithm>

namespace quorvane::testing {
namespace {

using namespace std::chrono_literals;

constexpr auto kPumpLimit = 60s;

/// Applications for which this thread passes for the main one, while it performs inline.
thread_local std::vector<const FakeApplication*> actingFor;

class FakeCheckBox : public platform::CheckBox {
public:
    FakeCheckBox(const FakeApplication& application, Journal& journal, std::string outlet)
        : application_(application), journal_(journal), outlet_(std::move(outlet)) {}

    int state() const override {
        journal_.add("checkBox.state " + outlet_);
        return application_.checkBoxState(outlet_);
    }

private:
    const FakeApplication& application_;
    Journal& journal_;
    std::string outlet_;
};

class FakeProgressIndicator : public platform::ProgressIndicator {
public:
    FakeProgressIndicator(Journal& journal, std::string outlet)
        : journal_(journal), outlet_(std::move(outlet)) {}

    void setUsesThreadedAnimation(bool threaded) override {
        journal_.add("progress.threaded " + outlet_ + (threaded ? " true" : " false"));
    }
    void startAnimation() override { journal_.add("progress.start " + outlet_); }

private:
    Journal& journal_;
    std::string outlet_;
};

class FakeWindow : public platform::Window {
public:
    FakeWindow(const FakeApplication& application, Journal& journal,
               platform::WindowDescription description)
        : application_(application), journal_(journal), description_(std::move(description)) {}

    void makeKeyAndOrderFront() override { journal_.add("window.front " + description_.title); }
    void orderOut() override { journal_.add("window.out " + description_.title); }

    std::shared_ptr<platform::CheckBox> checkBox(const std::string& outlet) override {
        if (!has<platform::CheckBoxElement>(outlet)) return nullptr;
        return std::make_shared<FakeCheckBox>(application_, journal_, outlet);
    }

    std::shared_ptr<platform::ProgressIndicator>
    progressIndicator(const std::string& outlet) override {
        if (!has<platform::ProgressElement>(outlet)) return nullptr;
        return std::make_shared<FakeProgressIndicator>(journal_, outlet);
    }

private:
    template <class Element>
    bool has(const std::string& outlet) const {
        return std::ranges::any_of(description_.elements, [&](const platform::Element& element) {
            const auto* named = std::get_if<Element>(&element);
            return named != nullptr && named->outlet == outlet;
        });
    }

    const FakeApplication& application_;
    Journal& journal_;
    platform::WindowDescription description_;
};

} // namespace

std::shared_ptr<platform::Window>
FakeApplication::makeWindow(const platform::WindowDescription& description) {
    journal_.add("window.make " + description.title);
    windows_.push_back(description);
    return std::make_shared<FakeWindow>(*this, journal_, description);
}

void FakeApplication::runAlertPanel(const std::string& title, const std::string& message) {
    journal_.add("application.alert " + title + " | " + message);
    if (alertAction_) alertAction_();
}

void FakeApplication::terminate() {
    journal_.add("application.terminate");
    if (terminated_.exchange(true)) return;
    int told = 0;
    while (const auto observer = observerAfter(told)) observer();
    endLoop();
}

/// One at a time, because an observer may take back itself or another. The registration moves on.
std::function<void()> FakeApplication::observerAfter(int& registration) {
    const std::lock_guard lock(mutex_);
    const auto next = observers_.upper_bound(registration);
    if (next == observers_.end()) return nullptr;
    registration = next->first;
    return next->second;
}

int FakeApplication::addWillTerminateObserver(std::function<void()> observer) {
    const std::lock_guard lock(mutex_);
    observers_[++lastRegistration_] = std::move(observer);
    return lastRegistration_;
}

void FakeApplication::removeWillTerminateObserver(int registration) {
    const std::lock_guard lock(mutex_);
    observers_.erase(registration);
}

bool FakeApplication::isMainThread() const {
    return std::this_thread::get_id() == mainThread_.load() ||
           std::ranges::find(actingFor, this) != actingFor.end();
}

void FakeApplication::performOnMainThreadAndWait(const std::function<void()>& operation) {
    journal_.add("application.performOnMainThread");
    if (isMainThread()) return operation();
    {
        const std::lock_guard lock(mutex_);
        if (loopEnded_) return;
    }
    if (mode_.load() == MainThread::inlined) return performInline(operation);

    std::unique_lock lock(mutex_);
    Request request{&operation};
    requests_.push_back(&request);
    changed_.notify_all();
    changed_.wait(lock, [&] {
        return request.done ||
               (loopEnded_ && std::ranges::find(requests_, &request) != requests_.end());
    });
    std::erase(requests_, &request);
}

bool FakeApplication::processNextEvent(std::chrono::milliseconds limit) {
    ++eventsAskedFor_;
    if (eventAction_) eventAction_();
    return mode_.load() == MainThread::pumped && performNext(limit);
}

void FakeApplication::setCheckBoxState(const std::string& outlet, int state) {
    const std::lock_guard lock(mutex_);
    checkBoxStates_[outlet] = state;
}

int FakeApplication::checkBoxState(const std::string& outlet) const {
    const std::lock_guard lock(mutex_);
    const auto found = checkBoxStates_.find(outlet);
    return found == checkBoxStates_.end() ? platform::CheckBox::kOff : found->second;
}

bool FakeApplication::press(const std::string& buttonTitle) {
    for (const platform::WindowDescription& window : windows_)
        for (const platform::Element& element : window.elements) {
            const auto* row = std::get_if<platform::ButtonRow>(&element);
            if (row == nullptr) continue;
            const auto button =
                std::ranges::find(row->buttons, buttonTitle, &platform::Button::title);
            if (button == row->buttons.end()) continue;
            const auto action = button->action;
            action();
            return true;
        }
    return false;
}

bool FakeApplication::pumpUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kPumpLimit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        performNext(2ms);
    }
    return true;
}

void FakeApplication::endLoop() {
    const std::lock_guard lock(mutex_);
    loopEnded_ = true;
    changed_.notify_all();
}

std::size_t FakeApplication::observerCount() const {
    const std::lock_guard lock(mutex_);
    return observers_.size();
}

void FakeApplication::performInline(const std::function<void()>& operation) {
    struct Acting {
        explicit Acting(const FakeApplication* application) { actingFor.push_back(application); }
        ~Acting() { actingFor.pop_back(); }
        Acting(const Acting&) = delete;
        Acting& operator=(const Acting&) = delete;
    };
    const Acting acting(this);
    operation();
}

bool FakeApplication::performNext(std::chrono::milliseconds limit) {
    Request* request = nullptr;
    {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, limit, [this] { return !requests_.empty(); });
        if (requests_.empty() || loopEnded_) return false;
        request = requests_.front();
        requests_.pop_front();
    }
    perform(*request);
    return true;
}

/// The caller goes on even when its operation throws.
void FakeApplication::perform(Request& request) {
    struct Finish {
        Finish(FakeApplication& application, Request& request)
            : application_(application), request_(request) {}
        ~Finish() {
            const std::lock_guard lock(application_.mutex_);
            request_.done = true;
            application_.changed_.notify_all();
        }
        Finish(const Finish&) = delete;
        Finish& operator=(const Finish&) = delete;

    private:
        FakeApplication& application_;
        Request& request_;
    };
    const Finish finish(*this, request);
    (*request.operation)();
}

} // namespace quorvane::testing
