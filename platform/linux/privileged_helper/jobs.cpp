#include "platform/linux/privileged_helper/jobs.h"

#include <cstdlib>

#include "platform/linux/empty_folders.h"
#include "platform/linux/file_removal.h"
#include "platform/linux/mount_table.h"
#include "platform/linux/privileged_helper/hand_over.h"
#include "platform/linux/privileged_helper/staging.h"

namespace quorvane::platform::linux_::helper {
namespace {

constexpr ToolStatus kSucceeded{true, 0};

Started refused(int error) { return {error, 0, {}}; }

Started startedChild(pid_t child) {
    if (child == -1) return refused(errno);
    return {0, child, {}};
}

/// What stands at the destination and must stay: a folder, which is neither gone into nor replaced,
/// and anything at all where nothing may be replaced. 0 where nothing does.
int obstacleTo(const Command& command, const Place& source, const Place& destination) {
    struct stat there {};
    if (!destination.status(there)) return 0;
    if (command.replace == Replace::no) return EEXIST;
    struct stat item {};
    const bool isItself = source.status(item) && item.st_dev == there.st_dev &&
                          item.st_ino == there.st_ino; // by another spelling, where these are one
    return S_ISDIR(there.st_mode) && !isItself ? EISDIR : 0;
}

/// Within a volume a move is one rename, with nothing in between that could be seen or swapped.
/// What gives rights goes to no user who could not reach it before.
Started move(const Command& command, const Place& source, const Place& destination,
             const Path& records) {
    if (const int error = obstacleTo(command, source, destination)) return refused(error);
    const auto free = checkHoldsNoMount(source.folder.get(), source.name);
    if (!free) return refused(free.error().code);
    if (privilegesKept(command.job, source, destination) == Privileges::dropped &&
        holdsPrivileges(source))
        return refused(EPERM);
    if (renamePlace(source, destination, command.replace)) return {0, 0, kSucceeded};
    if (errno != EXDEV) return refused(errno);
    return startedChild(startStaged(command, source, destination, records));
}

Started copy(const Command& command, const Place& source, const Place& destination,
             const Path& records) {
    struct stat there {};
    if (command.replace == Replace::no && destination.status(there)) return refused(EEXIST);
    return startedChild(startStaged(command, source, destination, records));
}

/// Not by a tool: those go into whatever is mounted in a tree, and empty it.
Started remove(const Place& place) {
    const auto free = checkHoldsNoMount(place.folder.get(), place.name);
    if (!free) return refused(free.error().code);
    return startedChild(startWork([&] {
        const auto removed = removeTree(itemAt(place));
        return removed || removed.error().code == ENOENT ? EXIT_SUCCESS : EXIT_FAILURE;
    }));
}

/// By the helper itself, which can tell why nothing was removed.
Started removeFolders(const Place& place) {
    const auto removed = removeEmptyFolders(itemAt(place));
    if (!removed) return refused(removed.error().code);
    return {0, 0, kSucceeded};
}

/// Whether a protected folder at the operand would be gone, or be something else, afterwards.
bool wouldReplace(const Command& command, std::uint32_t operand) {
    const bool isDestination = operand == 1;
    return command.job == Job::remove || command.job == Job::removeEmptyFolders ||
           command.job == Job::move || (command.job == Job::copy && isDestination);
}

} // namespace

Started start(const Command& command, const ProtectedFolders* protectedFolders, int output,
              const Path& records) {
    std::array<Place, 2> places;
    const auto makeMissing = command.job == Job::makeFolder ? MakeMissing::yes : MakeMissing::no;
    for (std::uint32_t index = 0; index < command.operandCount; ++index) {
        Place& place = places.at(index);
        place = openPlace(command.operands.at(index), makeMissing);
        if (place.error != 0) return {place.error, 0, {}};
        if (protectedFolders != nullptr && wouldReplace(command, index) &&
            protectedFolders->contains(command.operands.at(index), place))
            return {EPERM, 0, {}};
    }
    if (command.job == Job::move) return move(command, places[0], places[1], records);
    if (command.job == Job::copy) return copy(command, places[0], places[1], records);
    if (command.job == Job::remove) return remove(places[0]);
    if (command.job == Job::removeEmptyFolders) return removeFolders(places[0]);
    return startedChild(startTool(command.tool, command.option, places[0], output));
}

} // namespace quorvane::platform::linux_::helper
