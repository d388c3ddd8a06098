#include "platform/linux/tools/ditto/staging.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/file_moving.h"
#include "platform/linux/file_removal.h"
#include "platform/linux/temporary_name.h"

namespace quorvane::platform::linux_::tools::ditto {
namespace {

constexpr mode_t kNewFolder = 0777;

/// How long the part of a path is that leads to something, even to a link to nothing.
std::size_t lengthThatExists(const Path& path) {
    std::size_t length = 1;
    while (length < path.size()) {
        const std::size_t end = std::min(path.find('/', length + 1), path.size());
        struct stat status {};
        if (::lstat(path.substr(0, end).c_str(), &status) != 0) {
            if (errno == ENOENT) break;
            throw Failure(path, systemError());
        }
        length = end;
    }
    return length;
}

Descriptor openFolderIn(const Descriptor& parent, const std::string& name) {
    return Descriptor(retryInterrupted([&] {
        return ::openat(parent.get(), name.c_str(),
                        O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    }));
}

} // namespace

Staging::Way Staging::wayTo(const Path& destination) {
    const std::size_t length = lengthThatExists(destination);
    Way way{
        Descriptor(::open(destination.substr(0, length).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)),
        {}};
    if (!way.there) throw Failure(destination, systemError());
    for (const auto& part : std::filesystem::path(destination.substr(length))) {
        if (part == "..") throw Failure(destination, systemError(ENOENT));
        if (!part.empty() && part != "." && part != "/") way.missing.push_back(part);
    }
    return way;
}

Staging::Staging(Path destination, Way way, Report& report)
    : destination_(std::move(destination)), report_(report),
      missing_(std::move(way.missing)), place_{std::move(way.there), temporaryName()} {
    if (::mkdirat(place_.folder.get(), place_.name.c_str(), S_IRWXU) != 0)
        throw Failure(destination_, systemError());
}

// Once the other constructor is done, the destructor takes care of the folder.
Staging::Staging(const Path& destination, Report& report)
    : Staging(destination, wayTo(destination), report) {
    hidden_ = openFolderIn(place_.folder, place_.name);
    items_ = duplicate(hidden_);
    for (std::size_t index = 1; items_ && index < missing_.size(); ++index) {
        const std::string& name = missing_[index];
        const bool isMade = ::mkdirat(items_.get(), name.c_str(), kNewFolder) == 0;
        items_ = isMade ? openFolderIn(items_, name) : Descriptor();
    }
    if (!items_) throw Failure(destination_, systemError());
}

Staging::~Staging() {
    if (place_.name.empty()) return;
    const Result<void> removed = removeUnfinished(place_);
    if (!removed)
        report_.note(place_.name, "stays, as it cannot be deleted: " + removed.error().text);
}

void Staging::appear() {
    ItemPlace destination{duplicate(place_.folder), missing_.front()};
    if (!destination.folder || ::fchmod(hidden_.get(), withoutMask(kNewFolder)) != 0)
        throw Failure(destination_, systemError());
    const Result<void> renamed = renameItem(place_, destination);
    if (!renamed) throw Failure(destination_, renamed.error());
    place_.name.clear();
}

} // namespace quorvane::platform::linux_::tools::ditto
