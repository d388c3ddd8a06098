#include "platform/linux/posix.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace quorvane::platform::linux_ {

Error systemError(int code) {
    std::array<char, 128> buffer{};
    return {code, strerror_r(code, buffer.data(), buffer.size())};
}

Result<Path> systemPath(const Path& path) {
    if (!path.starts_with('/')) return systemError(ENOENT);
    if (path.find('\0') != Path::npos) return systemError(EINVAL);
    return path.substr(0, std::max<std::size_t>(path.find_last_not_of('/') + 1, 1));
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

Descriptor openResolving(int folder, const char* path, int flags, std::uint64_t resolve) {
    struct open_how how {};
    how.flags = static_cast<unsigned>(flags);
    how.resolve = resolve;
    return Descriptor(static_cast<int>(
        retryInterrupted([&] { return ::syscall(SYS_openat2, folder, path, &how, sizeof how); })));
}

Descriptor duplicate(int descriptor) { return Descriptor(fcntl(descriptor, F_DUPFD_CLOEXEC, 0)); }
Descriptor duplicate(const Descriptor& descriptor) { return duplicate(descriptor.get()); }

Result<ItemPlace> openParent(const Path& path) {
    const Result<Path> plain = systemPath(path);
    if (!plain) return plain.error();
    const std::size_t slash = plain.value().rfind('/');
    std::string name = plain.value().substr(slash + 1);
    if (name.empty()) return systemError(EBUSY);
    if (name == "." || name == "..") return systemError(EINVAL);
    const Path above = plain.value().substr(0, std::max<std::size_t>(slash, 1));
    Descriptor folder(
        retryInterrupted([&] { return open(above.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC); }));
    if (!folder) return systemError();
    return ItemPlace{std::move(folder), std::move(name)};
}

} // namespace quorvane::platform::linux_
