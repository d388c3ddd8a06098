#include "platform/linux/privileged_helper/staging_folder.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/linux/directory.h"
#include "platform/linux/file_removal.h"
#include "platform/linux/kept_attributes.h"
#include "platform/linux/temporary_name.h"

namespace quorvane::platform::linux_::helper {
namespace {

constexpr mode_t kSuperuserOnly = 0700;

/// Opens a folder in a folder for reading, on the same volume.
Descriptor openOnVolume(int above, const char* name) {
    return openResolving(above, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC,
                         RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS | RESOLVE_NO_XDEV);
}

bool isEmpty(int folder) {
    const auto entries = readEntries(folder);
    return entries && entries.value().empty();
}

/// Makes an open folder the superuser's alone. It may have others' group or lists from the folder
/// it is in, and it may be another by now: whoever owns the folder above could have swapped it. An
/// empty folder can only be taken from them. Whatever a volume refuses, it keeps of nobody's.
bool takeOver(int folder) {
    if (!isEmpty(folder)) {
        errno = EPERM;
        return false;
    }
    ignore(::fchown(folder, 0, 0));
    ignore(::fchmod(folder, kSuperuserOnly));
    const Result<void> dropped = dropInheritedLists(folder);
    if (!dropped) errno = dropped.error().code;
    return dropped.ok();
}

/// Removes what an open folder holds. A folder that was put in the place of this one meanwhile is
/// not touched, for the name is not looked up.
bool empty(int folder) {
    const Descriptor readable = openOnVolume(folder, ".");
    const auto entries = readEntries(readable.get());
    if (!entries) return false;
    bool isEmpty = true;
    for (const DirectoryEntry& entry : entries.value())
        if (!removeTree(ItemPlace{openOnVolume(folder, "."), entry.name})) isEmpty = false;
    return isEmpty;
}

/// Whether nothing is left to be done about what is on record.
bool removeLeftover(const StagingRecord& record, const std::string& name) {
    const Path path = record.folderAbove() + "/" + name;
    const Place place = openPlace(path.c_str(), MakeMissing::no);
    if (place.error != 0) return false; // its volume may come again
    const Descriptor folder = openOnVolume(place.folder.get(), name.c_str());
    if (!folder) return errno == ENOENT || errno == ENOTDIR || errno == ELOOP;
    const StagingIdentity recorded = record.identity();
    const bool isKnown = recorded.inode != 0;
    if (isKnown && identityOf(folder.get()) != recorded) return true;
    if (isKnown && !empty(folder.get())) return false;
    return ::unlinkat(place.folder.get(), name.c_str(), AT_REMOVEDIR) == 0 || !isKnown;
}

} // namespace

StagingFolder::StagingFolder(const Place& beside, const Path& folderAbove, const Path& records)
    : beside_(beside), name_(temporaryName()),
      record_(StagingRecord::begin(records, name_, folderAbove)) {
    const int above = beside.folder.get();
    if (::mkdirat(above, name_.c_str(), kSuperuserOnly) == -1) {
        const int error = errno;
        record_.strike();
        errno = error;
        return;
    }
    folder_ = openOnVolume(above, name_.c_str());
    if (folder_ && takeOver(folder_.get())) {
        record_.setIdentity(identityOf(folder_.get()));
        return;
    }
    const int error = errno;
    folder_.reset();
    remove();
    errno = error;
}

void StagingFolder::remove() {
    if (folder_) empty(folder_.get());
    const int above = beside_.folder.get();
    if (::unlinkat(above, name_.c_str(), AT_REMOVEDIR) == 0 || errno == ENOENT) record_.strike();
}

void removeLeftovers(const Path& records) {
    const std::vector<std::string> names = recordedNames(records);
    if (names.empty() || ::fork() != 0) return;
    ::closelog();
    ::close(STDIN_FILENO); // the client's socket, as any descriptor, is its parent's business
    ::close_range(STDERR_FILENO + 1, ~0U, 0);
    for (const std::string& name : names) {
        StagingRecord record = StagingRecord::reopen(records, name);
        if (record && removeLeftover(record, name)) record.strike();
    }
    ::_exit(EXIT_SUCCESS);
}

} // namespace quorvane::platform::linux_::helper
