#include "platform/linux/tools/ditto/zip_reader.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/tools/ditto/archive_error.h"
#include "platform/linux/tools/ditto/interruption.h"
#include "platform/linux/tools/program.h"

namespace quorvane::platform::linux_::tools::ditto {
namespace {

constexpr std::size_t kBufferSize = 256UL * 1024;

/// What an archive without entries begins with; a comment may follow.
constexpr std::string_view kEmptyArchive{"PK\5\6\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 20};

bool isEmptyArchive(const Descriptor& file) {
    std::array<char, kEmptyArchive.size()> start{};
    const ssize_t size = ::pread(file.get(), start.data(), start.size(), 0);
    return size == static_cast<ssize_t>(kEmptyArchive.size()) &&
           std::string_view(start.data(), start.size()) == kEmptyArchive;
}

} // namespace

ZipReader::ZipReader(const Path& path)
    : path_(path), file_(retryInterrupted([&] {
          return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
      })),
      buffer_(kBufferSize), reader_(archive_read_new()) {
    struct stat status {};
    if (!file_ || ::fstat(file_.get(), &status) != 0) throw Failure(path_, systemError());
    if (!S_ISREG(status.st_mode)) throw Failure(path_, "is no file");
    size_ = static_cast<std::uint64_t>(status.st_size);
    if (isEmptyArchive(file_)) return; // in which the library sees none
    corrections_ = nameCorrections(file_.get(), size_);
    archive_read_support_format_zip_seekable(reader_.get());
    archive_read_set_read_callback(reader_.get(), read);
    archive_read_set_seek_callback(reader_.get(), seek);
    archive_read_set_callback_data(reader_.get(), this);
    if (archive_read_open1(reader_.get()) != ARCHIVE_OK)
        throw Failure(path_, reasonOf(reader_.get()));
    next();
}

void ZipReader::next() {
    const int result = archive_read_next_header(reader_.get(), &entry_);
    if (result == ARCHIVE_EOF) {
        entry_ = nullptr;
    } else if (result != ARCHIVE_OK && result != ARCHIVE_WARN) {
        throw Failure(path_, reasonOf(reader_.get()));
    }
}

bool ZipReader::copyDataTo(archive* disk) {
    for (;;) {
        throwIfInterrupted();
        const void* block = nullptr;
        std::size_t size = 0;
        la_int64_t offset = 0;
        const int result = archive_read_data_block(reader_.get(), &block, &size, &offset);
        if (result == ARCHIVE_EOF) return true;
        if (result != ARCHIVE_OK) {
            error_ = reasonOf(reader_.get());
            return false;
        }
        if (archive_write_data_block(disk, block, size, offset) != ARCHIVE_OK) {
            error_ = reasonOf(disk);
            return false;
        }
    }
}

la_ssize_t ZipReader::read(archive* reader, void* self, const void** buffer) {
    auto& zip = *static_cast<ZipReader*>(self);
    const ssize_t size = retryInterrupted([&] {
        return ::pread(zip.file_.get(), zip.buffer_.data(), zip.buffer_.size(),
                       static_cast<off_t>(zip.position_));
    });
    if (size < 0) {
        const Error error = systemError();
        archive_set_error(reader, error.code, "%s", error.text.c_str());
        return ARCHIVE_FATAL;
    }
    zip.correct(static_cast<std::size_t>(size));
    zip.position_ += static_cast<std::uint64_t>(size);
    *buffer = zip.buffer_.data();
    return size;
}

la_int64_t ZipReader::seek(archive* /*reader*/, void* self, la_int64_t offset, int whence) {
    auto& zip = *static_cast<ZipReader*>(self);
    const auto base = static_cast<la_int64_t>(whence == SEEK_END   ? zip.size_
                                              : whence == SEEK_CUR ? zip.position_
                                                                   : 0);
    const auto size = static_cast<la_int64_t>(zip.size_);
    if (offset < -base || offset > size - base) return ARCHIVE_FATAL;
    zip.position_ = static_cast<std::uint64_t>(base + offset);
    return base + offset;
}

/// In what has just been read, at the position before it.
void ZipReader::correct(std::size_t size) {
    auto next = std::lower_bound(
        corrections_.begin(), corrections_.end(), position_,
        [](const Correction& one, std::uint64_t offset) { return one.offset < offset; });
    for (; next != corrections_.end() && next->offset < position_ + size; ++next)
        buffer_[next->offset - position_] = next->byte;
}

} // namespace quorvane::platform::linux_::tools::ditto
