#include "platform/linux/streams.h"

#include <chrono>
#include <limits>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr mode_t kNewFileMode = 0666;
constexpr std::chrono::milliseconds kTimeOfAWrite{1};
constexpr int kWithoutWaiting = O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

/// Refuses FIFOs, whose other end could stay silent or vanish.
Result<StreamHandle> openStream(const Path& path, int flags) {
    const Result<Path> plain = systemPath(path);
    if (!plain) return plain.error();
    Descriptor stream(retryInterrupted(
        [&] { return open(plain.value().c_str(), flags | kWithoutWaiting, kNewFileMode); }));
    if (!stream) return systemError();
    struct stat status {};
    if (fstat(stream.get(), &status) != 0) return systemError();
    if (S_ISFIFO(status.st_mode)) return systemError(ENXIO);
    return StreamHandle{stream.release()};
}

} // namespace

Result<StreamHandle> openReadStream(const Path& path) {
    Result<StreamHandle> stream = openStream(path, O_RDONLY);
    // Streams are read from one end to the other: the disk may look further ahead.
    if (stream)
        ignore(posix_fadvise(static_cast<int>(stream.value()), 0, 0, POSIX_FADV_SEQUENTIAL));
    return stream;
}

Result<StreamHandle> openEmptyStream(const Path& path) {
    return openStream(path, O_RDWR | O_CREAT | O_TRUNC);
}

Result<StreamHandle> openNewStream(const Path& path) {
    return openStream(path, O_RDWR | O_CREAT | O_EXCL);
}

/// The file is pinned first and opened through its descriptor, so that a device put in its place
/// meanwhile is never opened.
Result<StreamHandle> openExistingStream(const Path& path) {
    const Result<Path> plain = systemPath(path);
    if (!plain) return plain.error();
    const Descriptor pinned(retryInterrupted(
        [&] { return open(plain.value().c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC); }));
    if (!pinned) return systemError();
    struct stat status {};
    if (fstat(pinned.get(), &status) != 0) return systemError();
    if (S_ISLNK(status.st_mode)) return systemError(ELOOP);
    if (S_ISDIR(status.st_mode)) return systemError(EISDIR);
    if (!S_ISREG(status.st_mode)) return systemError(ENXIO);
    return openStream("/proc/self/fd/" + std::to_string(pinned.get()), O_RDWR);
}

Result<StreamHandle> openAppendStream(const Path& path) {
    Result<StreamHandle> stream = openStream(path, O_RDWR | O_APPEND);
    // What may not be read may be written all the same.
    if (!stream && stream.error().code == EACCES) stream = openStream(path, O_WRONLY | O_APPEND);
    return stream;
}

Result<void> truncateStream(int descriptor) {
    if (ftruncate(descriptor, 0) != 0) return systemError();
    return seekStream(descriptor, 0);
}

bool endsInsideLine(int descriptor) {
    for (off_t known = -1;;) {
        struct stat status {};
        char last = '\n';
        if (fstat(descriptor, &status) != 0 || status.st_size == 0) return false;
        if (pread(descriptor, &last, 1, status.st_size - 1) != 1 || last == '\n') return false;
        if (status.st_size == known) return true;
        known = status.st_size; // which moves on while a write is under way
        std::this_thread::sleep_for(kTimeOfAWrite);
    }
}

Result<FileIdentity> identityOfStream(int descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) return systemError();
    return FileIdentity{status.st_dev, status.st_ino};
}

Result<void> removeEmptyFile(const Path& path, int descriptor) {
    const Result<FileIdentity> opened = identityOfStream(descriptor);
    if (!opened) return opened.error();
    const Result<ItemPlace> place = openParent(path);
    if (!place) return place.error();
    const int folder = place.value().folder.get();
    const char* name = place.value().name.c_str();
    struct stat there {};
    if (fstatat(folder, name, &there, AT_SYMLINK_NOFOLLOW) != 0) return systemError();
    const FileIdentity found{there.st_dev, there.st_ino};
    if (found != opened.value() || there.st_size != 0) return systemError(ESTALE);
    if (unlinkat(folder, name, 0) != 0) return systemError();
    return {};
}

Result<void> seekStream(int descriptor, std::uint64_t position) {
    if (position > std::numeric_limits<off_t>::max()) return systemError(EOVERFLOW);
    if (lseek(descriptor, static_cast<off_t>(position), SEEK_SET) < 0) return systemError();
    return {};
}

StreamRead readStream(int descriptor, std::span<char> buffer) {
    StreamRead result;
    while (result.count < buffer.size()) {
        const ssize_t count = retryInterrupted([&] {
            return ::read(descriptor, buffer.data() + result.count, buffer.size() - result.count);
        });
        if (count < 0) result.error = systemError();
        result.atEnd = count == 0;
        if (count <= 0) break;
        result.count += static_cast<std::size_t>(count);
    }
    return result;
}

Result<std::size_t> writeStream(int descriptor, std::string_view bytes) {
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = retryInterrupted(
            [&] { return ::write(descriptor, bytes.data() + written, bytes.size() - written); });
        if (count < 0 && written == 0) return systemError();
        if (count <= 0) break;
        written += static_cast<std::size_t>(count);
    }
    return written;
}

} // namespace quorvane::platform::linux_
