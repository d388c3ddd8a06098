#include "platform/linux/pipe.h"

#include <array>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "platform/linux/spawn.h"

namespace quorvane::platform::linux_ {
namespace {

/// What a pipe holds by default: one read empties a full one.
constexpr std::size_t kReadSize = 65536;

[[noreturn]] void throwError() { throw Exception("PipeException", systemError().text); }

std::shared_ptr<Descriptor> heldAboveStandardStreams(Descriptor end) {
    auto held = std::make_shared<Descriptor>(aboveStandardStreams(std::move(end)));
    if (!*held) throwError();
    return held;
}

} // namespace

LinuxPipe::LinuxPipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throwError();
    Descriptor writing(ends[1]);
    readingEnd_ = heldAboveStandardStreams(Descriptor(ends[0]));
    writingEnd_ = heldAboveStandardStreams(std::move(writing));
}

Bytes LinuxPipe::availableData() {
    const auto end = readingEnd();
    if (!end) return {};
    std::array<char, kReadSize> buffer; // NOLINT(*-member-init): the read fills what is used
    const auto count =
        retryInterrupted([&] { return ::read(end->get(), buffer.data(), buffer.size()); });
    if (count < 0) throwError();
    return {buffer.data(), static_cast<std::size_t>(count)};
}

void LinuxPipe::closeReading() {
    const std::lock_guard lock(mutex_);
    readingEnd_.reset();
}

void LinuxPipe::closeWriting() {
    const std::lock_guard lock(mutex_);
    writingEnd_.reset();
}

std::shared_ptr<Descriptor> LinuxPipe::readingEnd() const {
    const std::lock_guard lock(mutex_);
    return readingEnd_;
}

std::shared_ptr<Descriptor> LinuxPipe::writingEnd() const {
    const std::lock_guard lock(mutex_);
    return writingEnd_;
}

} // namespace quorvane::platform::linux_
