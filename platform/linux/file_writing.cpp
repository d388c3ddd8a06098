#include "platform/linux/file_writing.h"

#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/posix.h"
#include "platform/linux/streams.h"
#include "platform/linux/temporary_name.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr mode_t kNewFileMode = 0666;
constexpr mode_t kPermissionBits = 0777;

/// A new file beside the one that it is to replace; goes again unless it does.
class Replacement {
public:
    explicit Replacement(const ItemPlace& place) : place_(place) {}
    Replacement(Replacement&&) = delete;
    Replacement& operator=(Replacement&&) = delete;
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement() {
        if (!name_.empty()) unlinkat(place_.folder.get(), name_.c_str(), 0);
    }

    Result<void> create();
    Result<void> fill(std::string_view content);
    Result<void> replace();

private:
    const ItemPlace& place_;
    std::string name_;
    Descriptor file_;
};

/// The new file is never open to more users than the old one, at no time.
Result<void> Replacement::create() {
    struct stat old {};
    const bool keepsMode =
        fstatat(place_.folder.get(), place_.name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISREG(old.st_mode);
    const mode_t mode = keepsMode ? S_IRUSR | S_IWUSR : kNewFileMode;
    std::string name;
    do {
        name = temporaryName();
        file_ = Descriptor(retryInterrupted([&] {
            return openat(place_.folder.get(), name.c_str(),
                          O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
        }));
    } while (!file_ && errno == EEXIST);
    if (!file_) return systemError();
    name_ = name;
    if (keepsMode && fchmod(file_.get(), old.st_mode & kPermissionBits) != 0) return systemError();
    return {};
}

Result<void> Replacement::fill(std::string_view content) {
    while (!content.empty()) {
        const Result<std::size_t> written = writeStream(file_.get(), content);
        if (!written) return written.error();
        content.remove_prefix(written.value());
    }
    // Some file systems tell only now that the disk is full.
    if (close(file_.release()) != 0 && errno != EINTR) return systemError();
    return {};
}

Result<void> Replacement::replace() {
    const int folder = place_.folder.get();
    if (renameat(folder, name_.c_str(), folder, place_.name.c_str()) != 0) return systemError();
    name_.clear();
    return {};
}

} // namespace

Result<void> replaceContent(const Path& path, std::string_view content) {
    const Result<ItemPlace> place = openParent(path);
    if (!place) return place.error();
    Replacement replacement(place.value());
    Result<void> done = replacement.create();
    if (done) done = replacement.fill(content);
    if (done) done = replacement.replace();
    return done;
}

} // namespace quorvane::platform::linux_
