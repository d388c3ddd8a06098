#include "tests/platform/linux/privileged_helper/ownerless_volume.h"

#define FUSE_USE_VERSION 31 // NOLINT(cppcoreguidelines-macro-usage): the library's own switch

#include <array>
#include <cerrno>
#include <csignal>
#include <string>

#include <dirent.h>
#include <fcntl.h>
#include <fuse.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace quorvane::testing {
namespace {

/// What the server process shows.
struct Volume {
    int folder;
    uid_t owner;
};

Volume& volume() { return *static_cast<Volume*>(fuse_get_context()->private_data); }

/// A path of the volume's, relative to the folder that holds it.
const char* below(const char* path) { return path[1] == '\0' ? "." : path + 1; }

int answer(int result) { return result == -1 ? -errno : 0; }

int getAttributes(const char* path, struct stat* status, fuse_file_info* /*info*/) {
    if (fstatat(volume().folder, below(path), status, AT_SYMLINK_NOFOLLOW) != 0) return -errno;
    status->st_mode = S_ISDIR(status->st_mode) ? S_IFDIR | 0755 : S_IFREG | 0755;
    status->st_uid = status->st_gid = volume().owner;
    return 0;
}

int list(const char* path, void* buffer, fuse_fill_dir_t fill, off_t /*offset*/,
         fuse_file_info* /*info*/, fuse_readdir_flags /*flags*/) {
    DIR* folder = fdopendir(openat(volume().folder, below(path), O_RDONLY | O_DIRECTORY));
    if (folder == nullptr) return -errno;
    while (const dirent* entry = readdir(folder))
        fill(buffer, entry->d_name, nullptr, 0, fuse_fill_dir_flags());
    closedir(folder);
    return 0;
}

int makeFolder(const char* path, mode_t /*mode*/) {
    return answer(mkdirat(volume().folder, below(path), 0700));
}

int removeFile(const char* path) { return answer(unlinkat(volume().folder, below(path), 0)); }

int removeFolder(const char* path) {
    return answer(unlinkat(volume().folder, below(path), AT_REMOVEDIR));
}

int changeName(const char* from, const char* to, unsigned flags) {
    if (flags != 0) return -EINVAL;
    return answer(renameat(volume().folder, below(from), volume().folder, below(to)));
}

int openFile(const char* path, fuse_file_info* info) {
    const int file = openat(volume().folder, below(path), info->flags & ~O_EXCL, 0600);
    info->fh = static_cast<std::uint64_t>(file);
    return file == -1 ? -errno : 0;
}

int create(const char* path, mode_t /*mode*/, fuse_file_info* info) { return openFile(path, info); }

int closeFile(const char* /*path*/, fuse_file_info* info) {
    return answer(close(static_cast<int>(info->fh)));
}

int resize(const char* path, off_t size, fuse_file_info* /*info*/) {
    const int file = openat(volume().folder, below(path), O_WRONLY);
    const int result = answer(ftruncate(file, size));
    close(file);
    return result;
}

int readBytes(const char* /*path*/, char* buffer, std::size_t size, off_t offset,
              fuse_file_info* info) {
    const ssize_t count = pread(static_cast<int>(info->fh), buffer, size, offset);
    return count == -1 ? -errno : static_cast<int>(count);
}

int writeBytes(const char* /*path*/, const char* bytes, std::size_t size, off_t offset,
               fuse_file_info* info) {
    const ssize_t count = pwrite(static_cast<int>(info->fh), bytes, size, offset);
    return count == -1 ? -errno : static_cast<int>(count);
}

int changeOwner(const char* /*path*/, uid_t owner, gid_t /*group*/, fuse_file_info* /*info*/) {
    return owner == volume().owner ? 0 : -EPERM;
}

int changeMode(const char* /*path*/, mode_t /*mode*/, fuse_file_info* /*info*/) { return -EPERM; }

fuse_operations operations() {
    fuse_operations all{};
    all.getattr = getAttributes;
    all.readdir = list;
    all.mkdir = makeFolder;
    all.unlink = removeFile;
    all.rmdir = removeFolder;
    all.rename = changeName;
    all.create = create;
    all.open = openFile;
    all.release = closeFile;
    all.truncate = resize;
    all.read = readBytes;
    all.write = writeBytes;
    all.chown = changeOwner;
    all.chmod = changeMode;
    return all;
}

/// Serves until it is ended; says by a byte that the volume is mounted.
void serve(const Path& folder, const Path& place, uid_t owner, int mounted) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    Volume held{open(folder.c_str(), O_PATH | O_DIRECTORY), owner};
    std::string name = "ownerless-volume";
    std::array<char*, 2> words{name.data(), nullptr};
    fuse_args arguments = FUSE_ARGS_INIT(1, words.data());
    const fuse_operations all = operations();
    struct fuse* server = fuse_new(&arguments, &all, sizeof all, &held);
    if (server == nullptr || fuse_mount(server, place.c_str()) != 0) _exit(1);
    if (write(mounted, "", 1) != 1) _exit(1);
    _exit(fuse_loop(server));
}

} // namespace

bool OwnerlessVolume::isPossible() {
    return geteuid() == 0 && access("/dev/fuse", R_OK | W_OK) == 0;
}

OwnerlessVolume::OwnerlessVolume(const Path& folder, const Path& place, uid_t owner) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) std::abort();
    server_ = fork();
    if (server_ == 0) serve(folder, place, owner, ends[1]);
    close(ends[1]);
    char byte = 0;
    EXPECT_EQ(read(ends[0], &byte, 1), 1) << "the volume could not be mounted";
    close(ends[0]);
}

void OwnerlessVolume::pause() const { EXPECT_EQ(kill(server_, SIGSTOP), 0); }

void OwnerlessVolume::goOn() const { EXPECT_EQ(kill(server_, SIGCONT), 0); }

OwnerlessVolume::~OwnerlessVolume() {
    kill(server_, SIGKILL);
    waitpid(server_, nullptr, 0);
}

} // namespace quorvane::testing
