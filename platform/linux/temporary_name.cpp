#include "platform/linux/temporary_name.h"

#include <array>
#include <cstdio>
#include <random>

namespace quorvane::platform::linux_ {

std::string temporaryName() {
    std::random_device random;
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), ".quorvane-%08x%08x", random(), random());
    return name.data();
}

} // namespace quorvane::platform::linux_
