#include "platform/linux/posix.h"

#include <array>
#include <cstring>
#include <utility>

#include <unistd.h>

namespace quorvane::platform::linux_ {

Error systemError(int code) {
    std::array<char, 128> buffer{};
    return {code, strerror_r(code, buffer.data(), buffer.size())};
}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        reset();
        value_ = other.release();
    }
    return *this;
}

int Descriptor::release() { return std::exchange(value_, -1); }

void Descriptor::reset() {
    if (value_ < 0) return;
    const int kept = errno;
    ::close(release());
    errno = kept;
}

} // namespace quorvane::platform::linux_
