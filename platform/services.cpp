#include "platform/Services.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace quorvane::platform {
namespace {

std::atomic<const Services*> installed{nullptr};

} // namespace

const Services& services() {
    const Services* set = installed.load(std::memory_order_acquire);
    if (set == nullptr) {
        std::fputs("No platform services are installed.\n", stderr);
        std::abort();
    }
    return *set;
}

const Services* installServices(const Services* set) {
    return installed.exchange(set, std::memory_order_acq_rel);
}

} // namespace quorvane::platform
