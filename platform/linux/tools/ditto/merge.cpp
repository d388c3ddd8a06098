#include "platform/linux/tools/ditto/merge.h"

#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/directory.h"
#include "platform/linux/file_removal.h"
#include "platform/linux/folder_trail.h"

namespace quorvane::platform::linux_::tools::ditto {
namespace {

enum class Kind { nothing, folder, link, other };

Kind kindOf(int folder, const std::string& name) {
    struct stat status {};
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT) throw Failure(name, systemError());
        return Kind::nothing;
    }
    if (S_ISDIR(status.st_mode)) return Kind::folder;
    return S_ISLNK(status.st_mode) ? Kind::link : Kind::other;
}

/// One way through both folders, as deep as both have a folder of the same name.
class Walk {
public:
    explicit Walk(Report& report) : report_(report) {}
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;
    virtual ~Walk() = default;

    void run(const Descriptor& from, const Descriptor& into) {
        enter(from.get(), into.get(), ".", "");
        while (!levels_.empty()) {
            if (levels_.back().pending.empty()) {
                leave();
                continue;
            }
            const std::string name = std::move(levels_.back().pending.back().name);
            levels_.back().pending.pop_back();
            takeItem(name);
        }
    }

protected:
    /// An item, and what has its name in the other folder; not two folders.
    virtual void take(const std::string& name, Kind item, Kind there) = 0;

    int from() const { return from_.folder(); }
    int into() const { return into_.folder(); }
    void fail(const std::string& name, const std::string& reason) {
        report_.failure(levels_.back().prefix + name, reason);
    }
    Failure failure(const std::string& name) const {
        return {(levels_.empty() ? "" : levels_.back().prefix) + name, systemError()};
    }

private:
    struct Level {
        std::string prefix;
        std::vector<DirectoryEntry> pending;
    };

    void takeItem(const std::string& name) {
        const Kind item = kindOf(from(), name);
        const Kind there = kindOf(into(), name);
        if (item != Kind::folder || there != Kind::folder) return take(name, item, there);
        enter(from(), into(), name, levels_.back().prefix + name + "/");
    }

    void enter(int from, int into, const std::string& name, const std::string& prefix) {
        constexpr int kFlags = O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
        Descriptor folder(::openat(from, name.c_str(), O_RDONLY | kFlags));
        Descriptor there(::openat(into, name.c_str(), O_PATH | kFlags));
        if (!folder || !there) throw failure(name);
        const auto identity = identify(folder);
        const auto identityThere = identify(there);
        auto entries = readEntries(folder.get());
        if (!identity || !identityThere || !entries) throw failure(name);
        if (identity.value().mount != identityThere.value().mount)
            return fail(name, "is on another file system there");
        from_.enter(std::move(folder), identity.value());
        into_.enter(std::move(there), identityThere.value());
        levels_.push_back({prefix, std::move(entries.value())});
    }

    void leave() {
        levels_.pop_back();
        if (auto left = from_.leave(); !left) throw Failure(left.error().text);
        if (auto left = into_.leave(); !left) throw Failure(left.error().text);
    }

    Report& report_;
    FolderTrail from_;
    FolderTrail into_;
    std::vector<Level> levels_;
};

class Look : public Walk {
    using Walk::Walk;

    void take(const std::string& name, Kind item, Kind there) override {
        if (item == Kind::folder && there != Kind::nothing)
            return fail(name, there == Kind::link ? "a link is in the folder's place"
                                                  : "a file is in the folder's place");
        if (there == Kind::folder) return fail(name, "a folder is in its place");
        const Result<void> possible =
            there == Kind::nothing ? checkWritable() : checkRemovable(into(), name.c_str());
        if (!possible) fail(name, possible.error().text);
    }

    Result<void> checkWritable() const {
        if (::faccessat(into(), ".", W_OK | X_OK, AT_EACCESS) == 0) return {};
        return systemError();
    }
};

class Move : public Walk {
    using Walk::Walk;

    void take(const std::string& name, Kind /*item*/, Kind /*there*/) override {
        if (::renameat(from(), name.c_str(), into(), name.c_str()) != 0) throw failure(name);
    }
};

} // namespace

void mergeFolders(const Descriptor& from, const Descriptor& into, Report& report) {
    Look(report).run(from, into);
    if (!report.hasFailed()) Move(report).run(from, into);
}

} // namespace quorvane::platform::linux_::tools::ditto
