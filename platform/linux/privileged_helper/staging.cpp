#include "platform/linux/privileged_helper/staging.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <cstdio>

namespace quorvane::platform::linux_::helper {
namespace {

constexpr mode_t kSuperuserOnly = 0700;
constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;

struct Staging {
    std::array<char, 32> name{};
    Descriptor folder;
};

/// Makes the folder and holds it open. Its owner could have swapped it between the two.
Staging makeStaging(int beside) {
    Staging staging;
    std::uint64_t number = 0;
    ignore(::getrandom(&number, sizeof number, 0));
    std::snprintf(staging.name.data(), staging.name.size(), ".quorvane-%016llx",
                  static_cast<unsigned long long>(number));
    if (::mkdirat(beside, staging.name.data(), kSuperuserOnly) == -1) return staging;
    staging.folder = openBelow(beside, staging.name.data());
    struct stat status {};
    if (staging.folder && (::fstat(staging.folder.get(), &status) == -1 || status.st_uid != 0 ||
                           (status.st_mode & ALLPERMS) != kSuperuserOnly)) {
        staging.folder.reset();
        errno = EPERM;
    }
    return staging;
}

/// Takes the empty folder away again.
void removeStaging(const Staging& staging, int beside) {
    ignore(::unlinkat(beside, staging.name.data(), AT_REMOVEDIR));
}

int run(const char* tool, const std::array<const char*, 2>& options,
        std::initializer_list<const Place*> operands, int output) {
    const pid_t child = startTool(tool, options, operands, output);
    return child == -1 ? 1 : waitForTool(child, -1).value;
}

/// Copies, renames, and removes what has been moved; answers the exit status of what failed, or 0.
/// Whatever ends this half-way, the source is whole until the destination is.
int copyAndRename(const Command& command, const Place& source, const Place& destination,
                  Staging& staging, int output) {
    const bool isMove = command.job == Job::move;
    const Place staged{0, std::move(staging.folder), destination.name};
    int status = run("/bin/cp", command.options, {&source, &staged}, output);
    // Part of a tree may serve those who asked for a copy; a move brings the whole or nothing.
    const bool arrived =
        (status == 0 || !isMove) && ::renameat(staged.folder.get(), staged.name,
                                               destination.folder.get(), destination.name) == 0;
    if (!arrived) {
        ignore(run("/bin/rm", {"-Rf"}, {&staged}, output));
        if (status == 0) status = 1;
    } else if (isMove) {
        status = run("/bin/rm", {"-Rf"}, {&source}, output);
    }
    removeStaging(staging, destination.folder.get());
    return status;
}

} // namespace

bool isSuperusersOwn(int folder) {
    struct stat status {};
    return ::fstat(folder, &status) == 0 && status.st_uid == 0 &&
           (status.st_mode & kOthersWrite) == 0;
}

pid_t startStaged(const Command& command, const Place& source, const Place& destination,
                  int output) {
    struct stat status {};
    if (destination.status(status) && S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return -1;
    }
    Staging staging = makeStaging(destination.folder.get());
    if (!staging.folder) return -1;
    const pid_t child = ::fork();
    if (child == -1) {
        const int error = errno;
        removeStaging(staging, destination.folder.get());
        errno = error;
    }
    if (child != 0) return child;
    ::close(STDIN_FILENO); // the client's socket is its parent's business
    ::_exit(copyAndRename(command, source, destination, staging, output));
}

} // namespace quorvane::platform::linux_::helper
