#include "platform/linux/privileged_helper/jobs.h"

#include <cstdio>

#include "platform/linux/empty_folders.h"
#include "platform/linux/privileged_helper/staging.h"

namespace quorvane::platform::linux_::helper {
namespace {

constexpr ToolStatus kSucceeded{true, 0};
constexpr ToolStatus kFailed{true, 1}; // as the tools exit

Started startedChild(pid_t child) {
    if (child == -1) return {errno, 0, {}};
    return {0, child, {}};
}

/// Within a volume a move is one rename, with nothing in between that could be seen or swapped.
Started move(const Command& command, const Place& source, const Place& destination, int output) {
    if (::renameat(source.folder.get(), source.name, destination.folder.get(), destination.name) ==
        0)
        return {0, 0, kSucceeded};
    if (errno != EXDEV) return {0, 0, kFailed};
    return startedChild(startStaged(command, source, destination, output));
}

/// By the helper itself, which can tell why nothing was removed.
Started removeFolders(const Place& place) {
    const auto removed = removeEmptyFolders(ItemPlace{duplicate(place.folder), place.name});
    if (!removed) return {removed.error().code, 0, {}};
    return {0, 0, kSucceeded};
}

/// Whether a protected folder at the operand would be gone, or be something else, afterwards.
bool wouldReplace(const Command& command, std::uint32_t operand) {
    const bool isDestination = operand == 1;
    return command.job == Job::remove || command.job == Job::removeEmptyFolders ||
           command.job == Job::move || (command.job == Job::copy && isDestination);
}

} // namespace

Started start(const Command& command, const ProtectedFolders& protectedFolders, int output) {
    std::array<Place, 2> places;
    const auto makeMissing = command.job == Job::makeFolder ? MakeMissing::yes : MakeMissing::no;
    for (std::uint32_t index = 0; index < command.operandCount; ++index) {
        Place& place = places.at(index);
        place = openPlace(command.operands.at(index), makeMissing);
        if (place.error != 0) return {place.error, 0, {}};
        if (wouldReplace(command, index) &&
            protectedFolders.contains(command.operands.at(index), place))
            return {EPERM, 0, {}};
    }
    if (command.job == Job::removeEmptyFolders) return removeFolders(places[0]);
    if (command.job == Job::move) return move(command, places[0], places[1], output);
    if (command.job == Job::copy)
        return startedChild(startStaged(command, places[0], places[1], output));
    return startedChild(startTool(command.tool, command.options, {places.data()}, output));
}

} // namespace quorvane::platform::linux_::helper
