#include "platform/linux/tools/ditto/extract.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/posix.h"
#include "platform/linux/tools/ditto/archive_error.h"
#include "platform/linux/tools/ditto/interruption.h"
#include "platform/linux/tools/ditto/merge.h"
#include "platform/linux/tools/ditto/staging.h"
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

/// The folder that the process works in, for the object's life: relative names start there.
class WorkingFolder {
public:
    explicit WorkingFolder(const Descriptor& folder)
        : before_(::open(".", O_PATH | O_DIRECTORY | O_CLOEXEC)) {
        if (!before_) throw Failure(systemError().text);
        enter(folder);
    }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;
    ~WorkingFolder() { ignore(::fchdir(before_.get())); }

    void enter(const Descriptor& folder) {
        if (::fchdir(folder.get()) != 0) throw Failure(systemError().text);
    }

private:
    Descriptor before_;
};

/// The umask for the object's life. Of a folder that the archive does not list, the library sets
/// the permissions last if these are not just what it makes new folders with; the folder of that
/// name that was there, with which it has become one, must keep its own.
class PlainUmask {
public:
    PlainUmask() : before_(::umask(0)) {
        ::umask((before_ | S_IWOTH) & ~static_cast<mode_t>(S_IRWXU));
    }
    PlainUmask(const PlainUmask&) = delete;
    PlainUmask& operator=(const PlainUmask&) = delete;
    ~PlainUmask() { ::umask(before_); }

private:
    mode_t before_;
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
        : reader_(archive), folder_(folder), report_(report), staging_(folder, report),
          working_(staging_.folder()), disk_(archive_write_disk_new()) {
        archive_write_disk_set_options(disk_.get(), kExtraction);
    }

    void run() {
        const std::optional<PlainUmask> umask =
            staging_.destination() ? std::make_optional<PlainUmask>() : std::nullopt;
        for (; reader_.entry() != nullptr; reader_.next()) {
            throwIfInterrupted();
            take(reader_.entry());
        }
        throwIfInterrupted();
        if (!report_.hasFailed()) deliver();
    }

private:
    void take(archive_entry* entry) {
        const char* const text = archive_entry_pathname(entry);
        const std::string name = text == nullptr ? "" : text;
        std::string refusal = nameRefusal(name);
        if (refusal.empty()) refusal = typeRefusal(entry);
        if (refusal.empty()) refusal = reader_.contradiction();
        if (refusal.empty() && isFolderItself(name)) return;
        if (refusal.empty()) refusal = placeRefusal(entry, name);
        if (!refusal.empty()) return report_.failure(name, refusal);
        extract(entry, name);
    }

    /// Why an item cannot go where its name tells: a link stands above it or, by a name that ends
    /// in a slash, in its place; or an item that the archive lists under another name is there, as
    /// on a volume where upper and lower case are the same.
    std::string placeRefusal(archive_entry* entry, const std::string& name) {
        const std::string_view listed = reader_.listed().name;
        const auto [known, isNew] = listedAs_.insert({name, listed});
        const Descriptor item =
            openResolving(staging_.folder().get(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC,
                          RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS);
        if (!item && errno == ELOOP) return "lies beyond a link";
        if (!item && errno == ENOTDIR) return "lies beyond a file";
        if (!item || (!isNew && known->second == listed)) return "";
        struct stat status {};
        const bool areFolders = archive_entry_filetype(entry) == AE_IFDIR &&
                                ::fstat(item.get(), &status) == 0 && S_ISDIR(status.st_mode);
        return areFolders ? "" : "has the name of another item";
    }

    void extract(archive_entry* entry, const std::string& name) {
        archive_entry_set_perm(entry, archive_entry_perm(entry) & kPermissions);
        if (archive_write_header(disk_.get(), entry) < ARCHIVE_WARN)
            return report_.failure(name, reasonOf(disk_.get()));
        if (archive_entry_filetype(entry) == AE_IFREG && !reader_.copyDataTo(disk_.get()))
            return report_.failure(name, reader_.error());
        noteWarning(archive_write_finish_entry(disk_.get()), name);
    }

    /// Permissions and times of folders are set last: of new ones before anybody sees them, and
    /// else once items can be moved out of them no more.
    void deliver() {
        if (const Descriptor* const destination = staging_.destination()) {
            mergeFolders(staging_.folder(), *destination, report_);
            if (report_.hasFailed()) return;
            working_.enter(*destination);
            finish();
        } else {
            finish();
            if (!report_.hasFailed()) staging_.appear();
        }
    }

    void finish() { noteWarning(archive_write_close(disk_.get()), folder_); }

    /// A volume that has no permissions still takes the items.
    void noteWarning(int result, const Path& item) {
        if (result < ARCHIVE_WARN) return report_.failure(item, reasonOf(disk_.get()));
        if (result == ARCHIVE_WARN) report_.note(item, reasonOf(disk_.get()));
    }

    ZipReader reader_; // first, so that a file that is no archive changes nothing
    Path folder_;
    Report& report_;
    Staging staging_;
    WorkingFolder working_;
    std::unique_ptr<archive, FreeDisk> disk_;
    /// The names so far, and what the archive lists them as; in another encoding, maybe.
    std::unordered_map<std::string, std::string_view> listedAs_;
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
