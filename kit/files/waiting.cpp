#include "kit/files/waiting.h"

#include "platform/Application.h"
#include "platform/Queues.h"
#include "platform/Services.h"

namespace quorvane {
namespace {

constexpr std::chrono::milliseconds kEventSlice{10};
constexpr double kSleep = 0.3; // seconds between looks off the main thread

void letTimePass() {
    platform::Application& application = *platform::services().application;
    if (application.isMainThread())
        application.processNextEvent(kEventSlice);
    else
        platform::services().queues->sleepFor(kSleep);
}

} // namespace

bool waitUntil(const std::function<bool()>& condition, std::chrono::seconds timeout) {
    platform::Queues& queues = *platform::services().queues;
    const double start = queues.uptime();
    const auto limit = static_cast<double>(timeout.count());
    bool holds = condition();
    while (!holds && queues.uptime() - start < limit) {
        letTimePass();
        holds = condition();
    }
    return condition(); // whatever it was: what holds now
}

} // namespace quorvane
