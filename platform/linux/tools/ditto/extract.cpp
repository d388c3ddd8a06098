#include "platform/linux/tools/ditto/extract.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/linux/file_removal.h"
#include "platform/linux/posix.h"
#include "platform/linux/tools/ditto/archive_error.h"
#include "platform/linux/tools/ditto/zip_reader.h"

namespace quorvane::platform::linux_::tools::ditto {
namespace {

constexpr int kExtraction = ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_TIME |
                            ARCHIVE_EXTRACT_SECURE_SYMLINKS | ARCHIVE_EXTRACT_SECURE_NODOTDOT |
                            ARCHIVE_EXTRACT_SECURE_NOABSOLUTEPATHS;
constexpr __LA_MODE_T kPermissions = 01777;

struct FreeDisk {
    void operator()(archive* disk) const { archive_write_free(disk); }
};

Descriptor openFolder(const Path& folder) {
    return Descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

/// The folder that the process works in, for the object's life: relative names start there.
class WorkingFolder {
public:
    explicit WorkingFolder(const Path& folder)
        : before_(openFolder(".")), folder_(openFolder(folder)) {
        if (!before_ || !folder_ || ::fchdir(folder_.get()) != 0)
            throw Failure(folder, systemError());
    }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;
    ~WorkingFolder() { ignore(::fchdir(before_.get())); }

    int descriptor() const { return folder_.get(); }

private:
    Descriptor before_;
    Descriptor folder_;
};

/// Where the items go until all are there: beside the folder, if that is new.
class Target {
public:
    explicit Target(Path folder) : folder_(std::move(folder)) {
        struct stat status {};
        if (::stat(folder_.c_str(), &status) == 0) return;
        const Path parent = folder_.substr(0, folder_.rfind('/') + 1);
        std::error_code error;
        std::filesystem::create_directories(parent, error);
        if (error) throw Failure(parent, error.message());
        staging_ = parent + ".unpacked-XXXXXX";
        if (::mkdtemp(staging_.data()) == nullptr) throw Failure(folder_, systemError());
    }
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;
    ~Target() { discard(); }

    const Path& path() const { return staging_.empty() ? folder_ : staging_; }

    /// Gives a new folder its name.
    void keep() {
        if (staging_.empty()) return;
        // Replaces an empty folder at most.
        if (::chmod(staging_.c_str(), withoutMask(0777)) != 0 ||
            ::rename(staging_.c_str(), folder_.c_str()) != 0)
            throw Failure(folder_, systemError());
        staging_.clear();
    }

    /// Deletes a new folder.
    void discard() {
        if (!staging_.empty()) ignore(removeTree(staging_));
        staging_.clear();
    }

private:
    Path folder_;
    Path staging_; ///< empty for a folder that was there, and once it has its name
};

std::string typeRefusal(archive_entry* entry) {
    const auto type = archive_entry_filetype(entry);
    const bool known = type == AE_IFREG || type == AE_IFDIR || type == AE_IFLNK;
    return known ? "" : "is no file, folder or link";
}

/// A name that stands for the folder itself.
bool isFolderItself(const std::filesystem::path& name) {
    return std::all_of(name.begin(), name.end(), [](const std::filesystem::path& part) {
        return part.empty() || part == ".";
    });
}

class Extraction {
public:
    Extraction(const Path& archive, const Path& folder, Report& report)
        : reader_(archive), target_(folder), working_(target_.path()), report_(report),
          disk_(archive_write_disk_new()) {
        archive_write_disk_set_options(disk_.get(), kExtraction);
    }

    void run() {
        try {
            for (; reader_.entry() != nullptr; reader_.next()) take(reader_.entry());
        } catch (...) {
            target_.discard(); // while nothing in it is read-only yet
            throw;
        }
        if (report_.hasFailed()) target_.discard();
        finish();
        if (!report_.hasFailed()) target_.keep();
    }

private:
    void take(archive_entry* entry) {
        const char* const text = archive_entry_pathname(entry);
        const std::string name = text == nullptr ? "" : text;
        std::string refusal = nameRefusal(name);
        if (refusal.empty()) refusal = typeRefusal(entry);
        if (refusal.empty() && leadsThroughLink(name)) refusal = "lies beyond a link";
        if (!refusal.empty()) {
            report_.failure(name, refusal);
        } else if (!isFolderItself(name)) {
            extract(entry, name);
        }
    }

    /// Whether a link stands above the item or, by a name that ends in a slash, in its place.
    bool leadsThroughLink(const std::string& name) const {
        open_how how{};
        how.flags = O_PATH | O_NOFOLLOW | O_CLOEXEC;
        how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS;
        const Descriptor item(static_cast<int>(
            ::syscall(SYS_openat2, working_.descriptor(), name.c_str(), &how, sizeof how)));
        return !item && errno == ELOOP;
    }

    void extract(archive_entry* entry, const std::string& name) {
        archive_entry_set_perm(entry, archive_entry_perm(entry) & kPermissions);
        if (archive_write_header(disk_.get(), entry) < ARCHIVE_WARN)
            return report_.failure(name, reasonOf(disk_.get()));
        if (archive_entry_filetype(entry) == AE_IFREG && !reader_.copyDataTo(disk_.get()))
            return report_.failure(name, reader_.error());
        noteWarning(archive_write_finish_entry(disk_.get()), name);
    }

    /// Permissions and times of folders are set last.
    void finish() { noteWarning(archive_write_close(disk_.get()), target_.path()); }

    /// A volume that has no permissions still takes the items.
    void noteWarning(int result, const Path& item) {
        if (result < ARCHIVE_WARN) return report_.failure(item, reasonOf(disk_.get()));
        if (result == ARCHIVE_WARN) report_.note(item, reasonOf(disk_.get()));
    }

    ZipReader reader_; // first, so that a file that is no archive changes nothing
    Target target_;
    WorkingFolder working_;
    Report& report_;
    std::unique_ptr<archive, FreeDisk> disk_;
};

} // namespace

std::string nameRefusal(const std::string& name) {
    if (name.empty()) return "has no name";
    if (name.starts_with('/')) return "is an absolute name";
    if (("/" + name + "/").find("/../") != std::string::npos) return "leads out of the folder";
    return "";
}

void extractArchive(const Path& archive, const Path& folder, Report& report) {
    const Result<Path> target = systemPath(absolutePath(folder));
    if (!target) throw Failure(folder, target.error());
    Extraction(archive, target.value(), report).run();
}

} // namespace quorvane::platform::linux_::tools::ditto
