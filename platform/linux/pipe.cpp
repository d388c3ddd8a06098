#include "platform/linux/pipe.h"

#include <array>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace quorvane::platform::linux_ {
namespace {

/// What a pipe holds by default: one read empties a full one.
constexpr std::size_t kReadSize = 65536;

[[noreturn]] void throwError() { throw Exception("PipeException", systemError().text); }

std::shared_ptr<Descriptor> aboveStandardStreams(int end) {
    auto held = std::make_shared<Descriptor>(end);
    if (end > STDERR_FILENO) return held;
    auto moved = std::make_shared<Descriptor>(::fcntl(end, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!*moved) throwError();
    return moved;
}

} // namespace

LinuxPipe::LinuxPipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throwError();
    Descriptor writing(ends[1]);
    readingEnd_ = aboveStandardStreams(ends[0]);
    writingEnd_ = aboveStandardStreams(writing.release());
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
