// Small helpers that the Linux services share.
#pragma once

#include <cerrno>
#include <cstdint>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// The error number with its `strerror` wording. Any thread.
Error systemError(int code = errno);

/// The path as system calls take it, without slashes at its end. Fails with ENOENT for an empty or
/// relative path, and with EINVAL where a NUL byte would cut it short and so name another item.
Result<Path> systemPath(const Path& path);

/// Owns an open descriptor and closes it. Movable; one thread at a time.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int value) : value_(value) {}
    Descriptor(Descriptor&& other) noexcept : value_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { reset(); }

    /// Whether a descriptor is held; false after a failed open.
    explicit operator bool() const { return value_ >= 0; }
    int get() const { return value_; }
    /// Gives the descriptor to the caller, who closes it.
    int release();
    /// Closes the descriptor, if any. Leaves errno as it was.
    void reset();

private:
    int value_ = -1;
};

/// Repeats a system call as long as signals interrupt it.
template <class Call>
auto retryInterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) result = call();
    return result;
}

/// Opens what a path leads to from a folder, keeping to RESOLVE_ flags on the way (openat2). Null
/// with errno set.
Descriptor openResolving(int folder, const char* path, int flags, std::uint64_t resolve);

/// Another descriptor for the same; none where the process may have no more.
Descriptor duplicate(int descriptor);
Descriptor duplicate(const Descriptor& descriptor);

/// The folder that holds an item, opened as a place only (O_PATH), and the item's name there.
struct ItemPlace {
    Descriptor folder;
    std::string name;
};

/// Opens the folder above an item. Links above the item are followed. EINVAL for an item named "."
/// or "..", EBUSY for the root.
Result<ItemPlace> openParent(const Path& path);

/// Takes the result of a system call whose failure changes nothing for the caller.
template <class Answer>
void ignore(Answer /*result*/) {}

} // namespace quorvane::platform::linux_
