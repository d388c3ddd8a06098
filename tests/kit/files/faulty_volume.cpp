#include "tests/kit/files/faulty_volume.h"

#define FUSE_USE_VERSION 31 // NOLINT(cppcoreguidelines-macro-usage): the library's own switch

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>
#include <string>
#include <utility>

#include <fuse.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace quorvane::testing {
namespace {

struct File {
    std::string content;
    timespec modified{};
};

/// What the server process holds.
struct Volume {
    Faults faults;
    std::map<std::string, File> files;
};

Volume& volume() { return *static_cast<Volume*>(fuse_get_context()->private_data); }

File* fileAt(const char* path) {
    const auto found = volume().files.find(path);
    return found == volume().files.end() ? nullptr : &found->second;
}

void* start(fuse_conn_info* /*connection*/, fuse_config* config) {
    config->direct_io = 1; // what is read comes from here, not from a cache
    return fuse_get_context()->private_data;
}

int getAttributes(const char* path, struct stat* status, fuse_file_info* /*info*/) {
    *status = {};
    status->st_nlink = 1;
    if (path == std::string("/")) {
        status->st_mode = S_IFDIR | 0755;
        return 0;
    }
    const File* file = fileAt(path);
    if (file == nullptr) return -ENOENT;
    status->st_mode = S_IFREG | 0644;
    status->st_size = static_cast<off_t>(file->content.size());
    status->st_mtim = file->modified;
    return 0;
}

int create(const char* path, mode_t /*mode*/, fuse_file_info* /*info*/) {
    volume().files[path] = {};
    return 0;
}

int resize(const char* path, off_t size, fuse_file_info* /*info*/) {
    File* file = fileAt(path);
    if (file == nullptr) return -ENOENT;
    file->content.resize(static_cast<std::size_t>(size));
    return 0;
}

int setTimes(const char* path, const timespec* times, fuse_file_info* /*info*/) {
    File* file = fileAt(path);
    if (file == nullptr) return -ENOENT;
    file->modified = times[1];
    return 0;
}

int readBytes(const char* path, char* buffer, std::size_t size, off_t offset,
              fuse_file_info* /*info*/) {
    const File* file = fileAt(path);
    if (file == nullptr) return -ENOENT;
    const Faults& faults = volume().faults;
    const auto start = static_cast<std::size_t>(offset);
    if (start >= faults.unreadableFrom) return -EIO;
    const std::size_t end = std::min({start + size, file->content.size(), faults.unreadableFrom});
    if (start >= end) return 0;
    std::copy(file->content.begin() + offset,
              file->content.begin() + static_cast<std::ptrdiff_t>(end), buffer);
    if (faults.turnedByte >= start && faults.turnedByte < end)
        buffer[faults.turnedByte - start] ^= '\x01';
    return static_cast<int>(end - start);
}

int writeBytes(const char* path, const char* bytes, std::size_t size, off_t offset,
               fuse_file_info* /*info*/) {
    File* file = fileAt(path);
    if (file == nullptr) return -ENOENT;
    const auto start = static_cast<std::size_t>(offset);
    const std::size_t limit = volume().faults.unwritableFrom;
    if (start >= limit) return -EIO;
    const std::size_t count = std::min(size, limit - start);
    file->content.resize(std::max(file->content.size(), start + count));
    file->content.replace(start, count, bytes, count);
    return static_cast<int>(count);
}

fuse_operations operations() {
    fuse_operations all{};
    all.init = start;
    all.getattr = getAttributes;
    all.create = create;
    all.truncate = resize;
    all.utimens = setTimes;
    all.read = readBytes;
    all.write = writeBytes;
    return all;
}

/// Serves until it is ended; says by a byte that the volume is mounted.
void serve(const Path& folder, const Faults& faults, int mounted) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    Volume held{faults, {}};
    std::string name = "faulty-volume";
    std::array<char*, 2> words{name.data(), nullptr};
    fuse_args arguments = FUSE_ARGS_INIT(1, words.data());
    const fuse_operations all = operations();
    struct fuse* server = fuse_new(&arguments, &all, sizeof all, &held);
    if (server == nullptr || fuse_mount(server, folder.c_str()) != 0) _exit(1);
    if (write(mounted, "", 1) != 1) _exit(1);
    _exit(fuse_loop(server));
}

} // namespace

bool FaultyVolume::isPossible() { return geteuid() == 0 && access("/dev/fuse", R_OK | W_OK) == 0; }

FaultyVolume::FaultyVolume(const Path& folder, const Faults& faults) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) std::abort();
    server_ = fork();
    if (server_ == 0) serve(folder, faults, ends[1]);
    close(ends[1]);
    char byte = 0;
    EXPECT_EQ(read(ends[0], &byte, 1), 1) << "the volume could not be mounted";
    close(ends[0]);
}

void FaultyVolume::vanish() {
    if (server_ < 0) return;
    kill(server_, SIGKILL);
    waitpid(std::exchange(server_, -1), nullptr, 0);
}

} // namespace quorvane::testing
