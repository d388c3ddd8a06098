// The wait of the timed forms.
#pragma once

#include <chrono>
#include <functional>

namespace quorvane {

/// Waits until the condition holds, for at most the time-out, and answers whether it does. On the
/// main thread it takes the application's events one at a time meanwhile, elsewhere it sleeps
/// between looks.
bool waitUntil(const std::function<bool()>& condition, std::chrono::seconds timeout);

} // namespace quorvane
