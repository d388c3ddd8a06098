#include "platform/linux/privileged_helper/staging_record.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <string>
#include <utility>

#include "platform/linux/directory.h"

namespace quorvane::platform::linux_::helper {
namespace {

constexpr mode_t kSuperusersFolder = 0700;
constexpr mode_t kSuperusersFile = 0600;
constexpr mode_t kOthers = S_IRWXG | S_IRWXO;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int kFileFlags = O_RDWR | O_NOFOLLOW | O_CLOEXEC;

/// Null where the folder is missing, or not the superuser's alone.
Descriptor openRecords(const Path& records) {
    Descriptor folder(retryInterrupted([&] { return ::open(records.c_str(), kFolderFlags); }));
    struct stat status {};
    const bool isOwn = folder && ::fstat(folder.get(), &status) == 0 && status.st_uid == 0 &&
                       (status.st_mode & kOthers) == 0;
    if (!isOwn) folder.reset();
    return folder;
}

/// Makes a file in the folder of records, and that folder, which whoever strikes out the last
/// record takes away. Null ends where that cannot be.
std::pair<Descriptor, Descriptor> makeRecord(const Path& records, const std::string& name) {
    constexpr int kAttempts = 8;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        ignore(::mkdir(records.c_str(), kSuperusersFolder));
        Descriptor folder = openRecords(records);
        if (!folder) continue;
        Descriptor file(
            ::openat(folder.get(), name.c_str(), kFileFlags | O_CREAT | O_EXCL, kSuperusersFile));
        if (file || errno != ENOENT) return {std::move(folder), std::move(file)};
    }
    return {};
}

} // namespace

StagingIdentity identityOf(int folder) {
    struct statx status {};
    if (::statx(folder, "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &status) == -1)
        return {};
    StagingIdentity identity{status.stx_ino, 0, 0, status.stx_uid, status.stx_mode, 0};
    if ((status.stx_mask & STATX_BTIME) != 0) {
        identity.bornSecond = status.stx_btime.tv_sec;
        identity.bornNanosecond = status.stx_btime.tv_nsec;
    }
    return identity;
}

StagingRecord::StagingRecord(Path path, Descriptor records, std::string name, Descriptor file)
    : path_(std::move(path)), records_(std::move(records)), name_(std::move(name)),
      file_(std::move(file)) {}

StagingRecord StagingRecord::begin(const Path& records, const std::string& name,
                                   const Path& folderAbove) {
    auto [folder, file] = makeRecord(records, name);
    if (!file) return {};
    StagingRecord record(records, std::move(folder), name, std::move(file));
    // Somebody who looks for what was left behind may have met it before it was locked.
    if (!record.lock(LOCK_EX)) return {};
    const auto size = static_cast<ssize_t>(folderAbove.size());
    if (::pwrite(record.file_.get(), folderAbove.data(), folderAbove.size(),
                 sizeof(StagingIdentity)) == size)
        return record;
    record.strike();
    return {};
}

StagingRecord StagingRecord::reopen(const Path& records, const std::string& name) {
    Descriptor folder = openRecords(records);
    if (!folder) return {};
    Descriptor file(::openat(folder.get(), name.c_str(), kFileFlags));
    if (!file) return {};
    StagingRecord record(records, std::move(folder), name, std::move(file));
    if (!record.lock(LOCK_EX | LOCK_NB)) return {};
    return record;
}

bool StagingRecord::lock(int operation) {
    struct stat status {};
    return retryInterrupted([&] { return ::flock(file_.get(), operation); }) == 0 &&
           ::fstat(file_.get(), &status) == 0 && status.st_nlink > 0;
}

void StagingRecord::setIdentity(const StagingIdentity& identity) {
    if (file_) ignore(::pwrite(file_.get(), &identity, sizeof identity, 0));
}

StagingIdentity StagingRecord::identity() const {
    StagingIdentity identity;
    if (::pread(file_.get(), &identity, sizeof identity, 0) != sizeof identity) return {};
    return identity;
}

Path StagingRecord::folderAbove() const {
    Path path(PATH_MAX, '\0');
    const ssize_t size = ::pread(file_.get(), path.data(), path.size(), sizeof(StagingIdentity));
    path.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return path;
}

void StagingRecord::strike() {
    if (!file_) return;
    ignore(::unlinkat(records_.get(), name_.c_str(), 0));
    ignore(::rmdir(path_.c_str())); // the next record may have it made again
    file_.reset();
}

std::vector<std::string> recordedNames(const Path& records) {
    const Descriptor folder = openRecords(records);
    if (!folder) return {};
    const auto entries = readEntries(folder.get());
    std::vector<std::string> names;
    if (entries)
        for (const DirectoryEntry& entry : entries.value()) names.push_back(entry.name);
    return names;
}

} // namespace quorvane::platform::linux_::helper
