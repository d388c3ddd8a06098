#include "platform/linux/tools/ditto/zip_writer.h"

#include <algorithm>
#include <clocale>
#include <cstdint>
#include <type_traits>

#include <archive_entry.h>
#include <unistd.h>

#include "platform/linux/posix.h"
#include "platform/linux/tools/ditto/archive_error.h"
#include "platform/linux/tools/ditto/interruption.h"
#include "platform/linux/tools/program.h"
#include "platform/linux/utf8.h"

namespace quorvane::platform::linux_::tools::ditto {
namespace {

/// What the format's length fields hold.
constexpr std::size_t kLongestName = UINT16_MAX;
constexpr std::size_t kBufferSize = 256UL * 1024;

/// The locale of this thread for its life: by it the library decides whether a name is marked as
/// UTF-8 in the archive.
class NameLocale {
public:
    explicit NameLocale(const std::string& name)
        : before_(uselocale(isUtf8(name) ? kUtf8.get() : kPlain.get())) {}
    NameLocale(const NameLocale&) = delete;
    NameLocale& operator=(const NameLocale&) = delete;
    ~NameLocale() { uselocale(before_); }

private:
    struct Free {
        void operator()(locale_t locale) const { freelocale(locale); }
    };
    using Locale = std::unique_ptr<std::remove_pointer_t<locale_t>, Free>;

    inline static const Locale kUtf8{newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)};
    inline static const Locale kPlain{newlocale(LC_CTYPE_MASK, "C", nullptr)};

    locale_t before_;
};

/// Seconds as the format keeps them, in 32 bits.
time_t storedTime(time_t seconds) { return std::clamp<time_t>(seconds, 0, UINT32_MAX); }

struct FreeEntry {
    void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};

} // namespace

ZipWriter::ZipWriter(int file) : writer_(archive_write_new()), buffer_(kBufferSize) {
    check(archive_write_set_format_zip(writer_.get()));
    check(archive_write_open_fd(writer_.get(), file));
}

void ZipWriter::addFolder(const std::string& name, const struct stat& status) {
    addHeader(name, status, nullptr);
}

void ZipWriter::addLink(const std::string& name, const struct stat& status,
                        const std::string& target) {
    addHeader(name, status, target.c_str());
}

void ZipWriter::addFile(const std::string& name, const struct stat& status, int file) {
    addHeader(name, status, nullptr);
    auto left = static_cast<std::uint64_t>(status.st_size);
    while (left > 0) {
        throwIfInterrupted();
        const std::size_t wanted = std::min<std::uint64_t>(left, buffer_.size());
        const ssize_t size = retryInterrupted([&] { return ::read(file, buffer_.data(), wanted); });
        if (size < 0) throw Failure(name, systemError());
        // The entry has told the size already; nobody could unpack one with less.
        if (size == 0) throw Failure(name, "ended before its stated size");
        if (archive_write_data(writer_.get(), buffer_.data(), static_cast<std::size_t>(size)) < 0)
            check(ARCHIVE_FATAL);
        left -= static_cast<std::uint64_t>(size);
    }
}

void ZipWriter::finish() { check(archive_write_close(writer_.get())); }

void ZipWriter::addHeader(const std::string& name, const struct stat& status,
                          const char* linkTarget) {
    if (name.size() >= kLongestName) throw Failure(name, "the path is too long for a zip archive");
    const NameLocale locale(name);
    const std::unique_ptr<archive_entry, FreeEntry> entry(archive_entry_new());
    archive_entry_copy_stat(entry.get(), &status);
    archive_entry_set_mtime(entry.get(), storedTime(status.st_mtime), 0);
    archive_entry_set_atime(entry.get(), storedTime(status.st_atime), 0);
    archive_entry_set_ctime(entry.get(), storedTime(status.st_ctime), 0);
    archive_entry_copy_pathname(entry.get(), name.c_str());
    if (linkTarget != nullptr) archive_entry_copy_symlink(entry.get(), linkTarget);
    check(archive_write_header(writer_.get(), entry.get()));
}

void ZipWriter::check(int result) const {
    if (result == ARCHIVE_OK || result == ARCHIVE_WARN) return;
    throw Failure(reasonOf(writer_.get()));
}

} // namespace quorvane::platform::linux_::tools::ditto
