#include "platform/linux/privileged_helper/staging.h"

#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "platform/linux/file_copying.h"
#include "platform/linux/file_removal.h"
#include "platform/linux/privileged_helper/hand_over.h"
#include "platform/linux/privileged_helper/merging.h"
#include "platform/linux/privileged_helper/staging_folder.h"
#include "platform/linux/privileged_helper/tool.h"
#include "platform/linux/privileged_helper/tree_search.h"
#include "platform/linux/superusers_places.h"

namespace quorvane::platform::linux_::helper {
namespace {

/// Whether nobody can put anything in the way of a merge.
bool mayBeMergedInto(const Place& place) {
    struct stat above {};
    if (::fstat(place.folder.get(), &above) == -1 || !isSuperusersAlone(above)) return false;
    return !holdsAny(itemAt(place), [](int /*folder*/, const char* /*name*/, const auto& status) {
        return S_ISDIR(status.st_mode) && !isSuperusersAlone(status);
    });
}

/// The folder above an operand, which is a plain absolute path.
Path folderAbove(const Path& operand) { return operand.substr(0, operand.rfind('/')); }

/// A copy or a move from volume to volume, once it is begun.
class Transfer {
public:
    Transfer(const Command& command, const Place& source, const Place& destination,
             const Descriptor& folder)
        : command_(command), source_(source),
          destination_(destination), staged_{0, duplicate(folder), destination.name} {}

    /// Copies, settles, and removes what has been moved. Whatever ends this half-way, the source is
    /// whole until the destination is.
    Result<void> carryOut(bool merges);

private:
    Result<void> copy(CopiedItems& moved) const;
    Result<void> settle(bool merges) const;

    const Command& command_;
    const Place& source_;
    const Place& destination_;
    const Place staged_;
};

Result<void> Transfer::carryOut(bool merges) {
    CopiedItems moved;
    Result<void> done = copy(moved);
    if (done) done = settle(merges);
    if (done && command_.job == Job::move) done = removeCopied(itemAt(source_), moved);
    return done;
}

Result<void> Transfer::copy(CopiedItems& moved) const {
    const Privileges privileges = privilegesKept(command_.job, source_, destination_);
    if (command_.job == Job::move)
        return copyTree(itemAt(source_), itemAt(staged_), moved, privileges);
    return copyTree(itemAt(source_), itemAt(staged_), privileges);
}

/// Gives what is staged its place.
Result<void> Transfer::settle(bool merges) const {
    if (merges) {
        if (mergeFolder(itemAt(staged_), itemAt(destination_))) return {};
        return systemError(EEXIST);
    }
    if (renamePlace(staged_, destination_, command_.replace)) return {};
    return systemError();
}

} // namespace

pid_t startStaged(const Command& command, const Place& source, const Place& destination,
                  const Path& records) {
    struct stat status {};
    const bool merges = destination.status(status) && S_ISDIR(status.st_mode);
    if (merges && (command.job == Job::move || !mayBeMergedInto(destination))) {
        errno = EISDIR;
        return -1;
    }
    StagingFolder staging(destination, folderAbove(command.operands[1]), records);
    if (!staging) return -1;
    const pid_t child = startWork([&] {
        const Result<void> done =
            Transfer(command, source, destination, staging.folder()).carryOut(merges);
        staging.remove();
        if (done) return EXIT_SUCCESS;
        ::syslog(LOG_NOTICE, "could not copy or move: %s", done.error().text.c_str());
        return EXIT_FAILURE;
    });
    if (child == -1) {
        const int error = errno;
        staging.remove();
        errno = error;
    }
    return child;
}

} // namespace quorvane::platform::linux_::helper
