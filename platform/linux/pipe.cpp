#include "platform/linux/pipe.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/linux/spawn.h"

namespace quorvane::platform::linux_ {
namespace {

/// What a pipe holds by default: one read empties a full one. More at once would not stay in the
/// processor's cache until it is copied on.
constexpr std::size_t kReadSize = 65536;
/// What a pipe is enlarged to whose writer is faster than its reader, so that they change places
/// less often: as much as the system lets everyone have.
constexpr int kLargePipe = 1 << 20;

/// From this size a buffer is worth large memory pages: most of the time that taking in large
/// output needs goes into new pages.
constexpr std::size_t kHugePage = std::size_t{2} << 20U;
constexpr std::size_t kLargeBuffer = 2 * kHugePage;
/// Up to this size a buffer grows fourfold, since room that is not used takes no memory.
constexpr std::size_t kAmpleBuffer = std::size_t{64} << 20U;

/// Asks for large pages, where the system leaves that to programs. It may refuse.
void useHugePages(Bytes& buffer) {
    void* start = buffer.data();
    std::size_t size = buffer.capacity();
    if (std::align(kHugePage, kHugePage, start, size) != nullptr)
        ::madvise(start, size & ~(kHugePage - 1), MADV_HUGEPAGE);
}

void makeRoom(Bytes& buffer, std::size_t count) {
    if (buffer.capacity() - buffer.size() >= count) return;
    const std::size_t factor = buffer.capacity() < kAmpleBuffer ? 4 : 2;
    buffer.reserve(std::max(factor * buffer.capacity(), buffer.size() + count));
    if (buffer.capacity() >= kLargeBuffer) useHugePages(buffer);
}

/// Ends a read that waits on another thread. Closing the descriptor would not: the read holds the
/// pipe open. One more byte does, which the reader drops.
void wakeReader(const Descriptor& end) {
    const std::string pipe = "/proc/self/fd/" + std::to_string(end.get());
    const Descriptor writing(::open(pipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    if (writing) ignore(::write(writing.get(), "", 1));
}

[[noreturn]] void throwError(int error = errno) {
    throw Exception("PipeException", systemError(error).text);
}

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

bool LinuxPipe::appendAvailableData(Bytes& buffer) {
    const auto end = beginReading();
    if (!end) return false;
    std::array<char, kReadSize> chunk; // NOLINT(*-member-init): the read fills what is used
    const auto count =
        retryInterrupted([&] { return ::read(end->get(), chunk.data(), chunk.size()); });
    const int error = errno;
    if (!endReading()) return false;
    if (count < 0) throwError(error);
    const auto size = static_cast<std::size_t>(count);
    if (size == chunk.size()) enlarge(*end);
    makeRoom(buffer, size);
    buffer.append(chunk.data(), size);
    return size > 0;
}

void LinuxPipe::enlarge(const Descriptor& end) {
    if (std::exchange(isLarge_, true)) return;
    ::fcntl(end.get(), F_SETPIPE_SZ, kLargePipe); // which may be refused
}

std::shared_ptr<Descriptor> LinuxPipe::beginReading() {
    const std::lock_guard lock(mutex_);
    isReading_ = true;
    return readingEnd_;
}

/// Whether the reading end is still open.
bool LinuxPipe::endReading() {
    const std::lock_guard lock(mutex_);
    isReading_ = false;
    return readingEnd_ != nullptr;
}

void LinuxPipe::closeReading() {
    const std::lock_guard lock(mutex_);
    if (isReading_ && readingEnd_) wakeReader(*readingEnd_);
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
