#include "platform/linux/privileged_helper/staging.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "platform/linux/directory.h"
#include "platform/linux/file_copying.h"
#include "platform/linux/file_removal.h"

namespace quorvane::platform::linux_::helper {
namespace {

constexpr mode_t kSuperuserOnly = 0700;
constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

struct Staging {
    std::array<char, 32> name{};
    Descriptor folder;
};

/// Opens a folder in a folder for reading; null with errno set for anything else there.
Descriptor openFolder(int folder, const char* name) {
    return Descriptor(retryInterrupted([&] { return ::openat(folder, name, kFolderFlags); }));
}

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

/// Whether only the superuser can change what stands in an open folder.
bool isSuperusersOwn(int folder) {
    struct stat status {};
    return ::fstat(folder, &status) == 0 && status.st_uid == 0 &&
           (status.st_mode & kOthersWrite) == 0;
}

/// The same of all folders below.
bool isSuperusersOwnTree(int folder) {
    if (!isSuperusersOwn(folder)) return false;
    const auto entries = readEntries(folder);
    if (!entries) return false;
    return std::ranges::all_of(entries.value(), [folder](const DirectoryEntry& entry) {
        const Descriptor below = openFolder(folder, entry.name.c_str());
        return below ? isSuperusersOwnTree(below.get()) : errno == ENOTDIR || errno == ELOOP;
    });
}

/// Whether nobody can put anything in the way of a tool that works in a folder by its path.
bool mayBeMergedInto(const Place& place) {
    if (!isSuperusersOwn(place.folder.get())) return false;
    const Descriptor folder = openFolder(place.folder.get(), place.name);
    return folder && isSuperusersOwnTree(folder.get());
}

int merge(const Command& command, const Place& staged, const Place& destination, int output) {
    const pid_t child = startTool(command.tool, command.options, {&staged, &destination}, output);
    const int status = child == -1 ? EXIT_FAILURE : waitForTool(child, -1).value;
    ignore(removeTree(itemAt(staged)));
    return status;
}

/// Gives what is staged its place.
int settle(const Command& command, const Place& staged, const Place& destination, bool merges,
           int output) {
    if (merges) return merge(command, staged, destination, output);
    if (renamePlace(staged, destination, command.replace)) return EXIT_SUCCESS;
    ignore(removeTree(itemAt(staged)));
    return EXIT_FAILURE;
}

/// Copies, settles, and removes what has been moved; answers an exit status as tools do. Whatever
/// ends this half-way, the source is whole until the destination is.
int carryOut(const Command& command, const Place& source, const Place& destination,
             Staging& staging, bool merges, int output) {
    const Place staged{0, std::move(staging.folder), destination.name};
    CopiedItems moved;
    const bool isMove = command.job == Job::move;
    const auto copied = isMove ? copyTree(itemAt(source), itemAt(staged), moved)
                               : copyTree(itemAt(source), itemAt(staged));
    int status = copied ? settle(command, staged, destination, merges, output) : EXIT_FAILURE;
    if (isMove && status == EXIT_SUCCESS && !removeCopied(itemAt(source), moved))
        status = EXIT_FAILURE;
    removeStaging(staging, destination.folder.get());
    return status;
}

} // namespace

pid_t startStaged(const Command& command, const Place& source, const Place& destination,
                  int output) {
    struct stat status {};
    const bool merges = destination.status(status) && S_ISDIR(status.st_mode);
    if (merges && (command.job == Job::move || !mayBeMergedInto(destination))) {
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
    ::_exit(carryOut(command, source, destination, staging, merges, output));
}

} // namespace quorvane::platform::linux_::helper
