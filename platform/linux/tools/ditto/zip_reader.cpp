#include "platform/linux/tools/ditto/zip_reader.h"

#include <algorithm>
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

/// The format's checksum, for the little that the library does not check.
std::uint32_t checksumOf(std::string_view bytes) {
    std::uint32_t sum = ~0U;
    for (const char byte : bytes) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) sum = sum >> 1U ^ ((sum & 1U) != 0 ? 0xEDB88320U : 0);
    }
    return ~sum;
}

ZipDirectory directoryOf(const Path& path, const Descriptor& file) {
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0) throw Failure(path, systemError());
    if (!S_ISREG(status.st_mode)) throw Failure(path, "is no file");
    return readDirectory({path, file.get(), static_cast<std::uint64_t>(status.st_size)});
}

} // namespace

ZipReader::ZipReader(const Path& path)
    : path_(path), file_(retryInterrupted([&] {
          return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
      })),
      directory_(directoryOf(path, file_)), position_(directory_.begin), buffer_(kBufferSize),
      reader_(archive_read_new()) {
    if (directory_.items.empty()) return; // in which the library sees no archive
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
        if (taken_ != directory_.items.size())
            throw Failure(path_, "has items that cannot be found");
    } else if (result != ARCHIVE_OK && result != ARCHIVE_WARN) {
        throw Failure(path_, reasonOf(reader_.get()));
    } else if (++taken_ > directory_.items.size()) {
        throw Failure(path_, "has items that its directory does not list");
    }
}

std::string ZipReader::contradiction() const {
    const ListedItem& item = listed();
    const auto type = archive_entry_filetype(entry_);
    if (type == AE_IFDIR && item.size > 0) return "is a folder, and has data";
    if (item.size == 0) return item.checksum == 0 ? "" : "is empty, and has a checksum";
    if (type != AE_IFLNK) return "";
    const char* const text = archive_entry_symlink(entry_);
    const std::string_view target = text == nullptr ? "" : text;
    const bool isAsListed = target.size() == item.size && checksumOf(target) == item.checksum;
    return isAsListed ? "" : "is a link whose target is damaged";
}

bool ZipReader::copyDataTo(archive* disk) {
    for (std::uint64_t copied = 0;;) {
        throwIfInterrupted();
        const void* block = nullptr;
        std::size_t size = 0;
        la_int64_t offset = 0;
        const int result = archive_read_data_block(reader_.get(), &block, &size, &offset);
        if (result == ARCHIVE_EOF) {
            if (copied != listed().size) error_ = "has another size than the directory tells";
            return copied == listed().size;
        }
        if (result != ARCHIVE_OK) {
            error_ = reasonOf(reader_.get());
            return false;
        }
        if (archive_write_data_block(disk, block, size, offset) != ARCHIVE_OK) {
            error_ = reasonOf(disk);
            return false;
        }
        copied += size;
    }
}

la_ssize_t ZipReader::read(archive* reader, void* self, const void** buffer) {
    auto& zip = *static_cast<ZipReader*>(self);
    const std::size_t wanted =
        std::min<std::uint64_t>(zip.buffer_.size(), zip.directory_.end - zip.position_);
    const ssize_t size = retryInterrupted([&] {
        return ::pread(zip.file_.get(), zip.buffer_.data(), wanted,
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
    const auto size = static_cast<la_int64_t>(zip.directory_.end - zip.directory_.begin);
    const auto position = static_cast<la_int64_t>(zip.position_ - zip.directory_.begin);
    const la_int64_t base = whence == SEEK_END ? size : whence == SEEK_CUR ? position : 0;
    if (offset < -base || offset > size - base) return ARCHIVE_FATAL;
    zip.position_ = zip.directory_.begin + static_cast<std::uint64_t>(base + offset);
    return base + offset;
}

/// In what has just been read, at the position before it.
void ZipReader::correct(std::size_t size) {
    const std::uint64_t end = position_ + size;
    const auto& all = directory_.corrections;
    auto next = std::partition_point(all.begin(), all.end(), [this](const Correction& one) {
        return one.offset + one.size <= position_;
    });
    for (; next != all.end() && next->offset < end; ++next) {
        const std::uint64_t from = std::max(next->offset, position_);
        const std::uint64_t to = std::min(next->offset + next->size, end);
        const char* const bytes = next->bytes.data() + (from - next->offset);
        std::copy(bytes, bytes + (to - from), buffer_.data() + (from - position_));
    }
}

} // namespace quorvane::platform::linux_::tools::ditto
