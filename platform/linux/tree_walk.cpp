#include "platform/linux/tree_walk.h"

#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/linux/directory.h"
#include "platform/linux/folder_trail.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

/// As many as the system follows in one path.
constexpr std::size_t kMostLinks = 40;

bool isOutOfMeans(int code) { return code == EMFILE || code == ENFILE || code == ENOMEM; }

class TreeWalk {
public:
    TreeWalk(ItemSizes sizes, TreeVisitor& visitor) : sizes_(sizes), visitor_(visitor) {}

    Result<void> walk(const char* top);

private:
    using By = FolderTrail::By;
    struct Subfolder {
        std::string name;
        By by;
    };

    Result<void> goOn();
    Result<void> visit(int parent, const char* name, By by);
    Result<void> readFolder();
    void sort(const char* name, EntryKind kind);
    void sortByStatus(const char* name);
    void sortLink(const char* name);
    void meet(const char* name);
    void meet(const char* name, std::uint64_t size);
    bool leadsToFolder(const char* name) const;

    ItemSizes sizes_;
    TreeVisitor& visitor_;
    DirectoryReader reader_;
    FolderTrail trail_;
    /// What is still to be visited in each folder on the way.
    std::vector<std::vector<Subfolder>> pending_;
    bool stopped_ = false;
};

Result<void> TreeWalk::walk(const char* top) {
    Result<void> done = visit(AT_FDCWD, top, By::link);
    while (done && !stopped_ && trail_.depth() > 0) done = goOn();
    return done;
}

Result<void> TreeWalk::goOn() {
    std::vector<Subfolder>& here = pending_.back();
    if (!here.empty()) {
        const Subfolder next = std::move(here.back());
        here.pop_back();
        return visit(trail_.folder(), next.name.c_str(), next.by);
    }
    pending_.pop_back();
    visitor_.leaveFolder();
    return trail_.leave();
}

Result<void> TreeWalk::visit(int parent, const char* name, By by) {
    if (trail_.links() > kMostLinks && by == By::link) {
        meet(name);
        return {};
    }
    const int flags =
        O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOCTTY | (by == By::name ? O_NOFOLLOW : 0);
    Descriptor folder(retryInterrupted([&] { return openat(parent, name, flags); }));
    if (!folder) {
        if (isOutOfMeans(errno)) return systemError();
        // No folder any more, or one that may not even be looked at, or not be listed.
        if (trail_.depth() > 0 && !leadsToFolder(name)) meet(name);
        return {};
    }
    const Result<FolderIdentity> identity = identify(folder);
    if (!identity) return identity.error();
    const bool isTop = trail_.depth() == 0;
    const auto answer = visitor_.enterFolder(isTop ? std::string_view() : std::string_view(name),
                                             {identity.value().device, identity.value().inode});
    stopped_ = answer == TreeVisitor::Answer::stop;
    if (answer != TreeVisitor::Answer::goOn) return {};
    trail_.enter(std::move(folder), identity.value(), by);
    pending_.emplace_back();
    return readFolder();
}

/// Meets what is no folder at once, and puts folders by until the listing is read: each piece of it
/// is read into the same memory.
Result<void> TreeWalk::readFolder() {
    while (!stopped_) {
        const Result<bool> more = reader_.read(trail_.folder());
        if (!more && isOutOfMeans(more.error().code)) return more.error();
        if (!more || !more.value()) break;
        reader_.forEach([this](const char* name, EntryKind kind) {
            sort(name, kind);
            return !stopped_;
        });
    }
    return {};
}

void TreeWalk::sort(const char* name, EntryKind kind) {
    switch (kind) {
    case EntryKind::folder:
        pending_.back().push_back({name, By::name});
        break;
    case EntryKind::link:
        sortLink(name);
        break;
    case EntryKind::other:
        meet(name);
        break;
    case EntryKind::unknown:
        sortByStatus(name);
        break;
    }
}

void TreeWalk::sortByStatus(const char* name) {
    struct stat status {};
    const bool found = fstatat(trail_.folder(), name, &status, AT_SYMLINK_NOFOLLOW) == 0;
    if (found && S_ISDIR(status.st_mode))
        sort(name, EntryKind::folder);
    else if (found && S_ISLNK(status.st_mode))
        sort(name, EntryKind::link);
    else
        meet(name, found ? static_cast<std::uint64_t>(status.st_size) : 0);
}

void TreeWalk::sortLink(const char* name) {
    if (leadsToFolder(name))
        pending_.back().push_back({name, By::link});
    else
        meet(name);
}

bool TreeWalk::leadsToFolder(const char* name) const {
    struct stat status {};
    return fstatat(trail_.folder(), name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

void TreeWalk::meet(const char* name) {
    struct stat status {};
    if (sizes_ == ItemSizes::told)
        ignore(fstatat(trail_.folder(), name, &status, AT_SYMLINK_NOFOLLOW));
    meet(name, static_cast<std::uint64_t>(status.st_size));
}

void TreeWalk::meet(const char* name, std::uint64_t size) {
    if (visitor_.meetItem(name, size) == TreeVisitor::Answer::stop) stopped_ = true;
}

} // namespace

Result<void> walkTree(const Path& folder, ItemSizes sizes, TreeVisitor& visitor) {
    const Result<Path> plain = systemPath(folder);
    if (!plain) return {};
    return TreeWalk(sizes, visitor).walk(plain.value().c_str());
}

} // namespace quorvane::platform::linux_
