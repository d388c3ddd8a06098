#include "platform/linux/tools/ditto/create.h"

#include <algorithm>
#include <climits>
#include <filesystem>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "platform/linux/directory.h"
#include "platform/linux/tools/ditto/interruption.h"
#include "platform/linux/tools/ditto/new_file.h"
#include "platform/linux/tools/ditto/zip_writer.h"

namespace quorvane::platform::linux_::tools::ditto {
namespace {

/// Every folder on the way down a tree stays open.
void allowManyDescriptors() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    ignore(::setrlimit(RLIMIT_NOFILE, &limit));
}

bool isSameFile(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

std::string linkTarget(int parent, const std::string& name) {
    std::string target(PATH_MAX, '\0');
    const ssize_t length = ::readlinkat(parent, name.c_str(), target.data(), target.size());
    if (length < 0) throw Failure(name, systemError());
    return target.substr(0, static_cast<std::size_t>(length));
}

class TreeArchiver {
public:
    TreeArchiver(int archive, Report& report) : writer_(archive), report_(report) {
        if (::fstat(archive, &archive_) != 0) throw Failure(systemError().text);
    }

    /// Archives an item under a name; a folder without a name, by its content alone.
    void add(const ItemPlace& place, const std::string& archiveName) {
        addItem(place.folder.get(), place.name, archiveName);
        while (!levels_.empty()) {
            throwIfInterrupted();
            if (levels_.back().pending.empty()) {
                levels_.pop_back();
                continue;
            }
            const std::string name = std::move(levels_.back().pending.back());
            levels_.back().pending.pop_back();
            addItem(levels_.back().folder.get(), name, levels_.back().prefix + name);
        }
        writer_.finish();
    }

private:
    /// A folder on the way down, with the names in it that are still to come, the next one last.
    struct Level {
        std::string prefix;
        Descriptor folder;
        std::vector<std::string> pending;
    };

    void addItem(int parent, const std::string& name, const std::string& archiveName);
    void addLink(int parent, const std::string& name, const std::string& archiveName,
                 const struct stat& status);
    void addOpened(Descriptor item, const std::string& archiveName);
    void enter(Descriptor folder, const std::string& archiveName);

    ZipWriter writer_;
    Report& report_;
    struct stat archive_ {};
    std::vector<Level> levels_;
};

void TreeArchiver::addItem(int parent, const std::string& name, const std::string& archiveName) {
    struct stat status {};
    if (::fstatat(parent, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT || levels_.empty()) throw Failure(archiveName, systemError());
        return report_.note(archiveName, "has gone meanwhile");
    }
    if (S_ISLNK(status.st_mode)) return addLink(parent, name, archiveName, status);
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode))
        return report_.note(archiveName, "left out, as it is no file, folder or link");
    Descriptor item(retryInterrupted([&] {
        return ::openat(parent, name.c_str(),
                        O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    }));
    if (!item) throw Failure(archiveName, systemError());
    addOpened(std::move(item), archiveName);
}

void TreeArchiver::addLink(int parent, const std::string& name, const std::string& archiveName,
                           const struct stat& status) {
    writer_.addLink(archiveName, status, linkTarget(parent, name));
}

void TreeArchiver::addOpened(Descriptor item, const std::string& archiveName) {
    struct stat status {};
    if (::fstat(item.get(), &status) != 0) throw Failure(archiveName, systemError());
    if (S_ISDIR(status.st_mode)) {
        if (!archiveName.empty()) writer_.addFolder(archiveName, status);
        return enter(std::move(item), archiveName);
    }
    // The archive may be made in the folder that goes into it.
    if (S_ISREG(status.st_mode) && !isSameFile(status, archive_))
        writer_.addFile(archiveName, status, item.get());
}

void TreeArchiver::enter(Descriptor folder, const std::string& archiveName) {
    const auto entries = readEntries(folder.get());
    if (!entries) throw Failure(archiveName, entries.error());
    Level level{archiveName.empty() ? "" : archiveName + "/", std::move(folder), {}};
    for (const DirectoryEntry& entry : entries.value()) level.pending.push_back(entry.name);
    std::sort(level.pending.rbegin(), level.pending.rend());
    levels_.push_back(std::move(level));
}

/// The item's place, with a name that can stand in an archive.
ItemPlace placeOf(const Path& source) {
    Path path = absolutePath(source);
    const std::filesystem::path last = std::filesystem::path(path).filename();
    if (last == "." || last == "..") path = std::filesystem::canonical(path);
    Result<ItemPlace> place = openParent(path);
    if (!place) throw Failure(source, place.error());
    return std::move(place.value());
}

bool isFolder(const ItemPlace& place) {
    struct stat status {};
    return ::fstatat(place.folder.get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(status.st_mode);
}

} // namespace

void createArchive(const Path& source, const Path& archive, bool keepParent, Report& report) {
    allowManyDescriptors();
    const ItemPlace place = placeOf(source);
    NewFile file(absolutePath(archive));
    const bool contentOnly = !keepParent && isFolder(place);
    TreeArchiver(file.descriptor(), report).add(place, contentOnly ? "" : place.name);
    file.keep();
}

} // namespace quorvane::platform::linux_::tools::ditto
