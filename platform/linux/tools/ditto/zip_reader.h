// A zip archive that is being read.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <archive.h>
#include <archive_entry.h>

#include "platform/Values.h"
#include "platform/linux/posix.h"
#include "platform/linux/tools/ditto/zip_directory.h"

namespace quorvane::platform::linux_::tools::ditto {

/// Reads the items that the archive's directory lists, each one and no other, in the order of their
/// data. Names and link targets are the archive's own bytes, whatever it says that they are. Throws
/// Failure.
class ZipReader {
public:
    /// Takes a regular file and reads its directory, so that what is no sound archive fails here.
    explicit ZipReader(const Path& path);
    ~ZipReader() = default;
    ZipReader(const ZipReader&) = delete;
    ZipReader& operator=(const ZipReader&) = delete;

    /// The entry where the reader stands; null at the end. Valid until next().
    archive_entry* entry() const { return entry_; }
    /// What the directory tells of that entry. Lives as long as the reader.
    const ListedItem& listed() const { return directory_.items[taken_ - 1]; }
    void next();
    /// Why the entry, which may be a link or folder, is not what the directory tells; empty when it
    /// is, as far as that shows without its data.
    std::string contradiction() const;
    /// Copies the entry's data. False, with the reason in error(), when it is damaged, is not what
    /// the directory tells, or the other side does not take it.
    bool copyDataTo(archive* disk);
    const std::string& error() const { return error_; }

private:
    struct Free {
        void operator()(archive* reader) const { archive_read_free(reader); }
    };

    static la_ssize_t read(archive* reader, void* self, const void** buffer);
    static la_int64_t seek(archive* reader, void* self, la_int64_t offset, int whence);

    void correct(std::size_t size);

    Path path_;
    Descriptor file_;
    ZipDirectory directory_;
    std::uint64_t position_ = 0; ///< in the file, of which the library sees the archive alone
    std::vector<char> buffer_;
    std::unique_ptr<archive, Free> reader_;
    archive_entry* entry_ = nullptr;
    std::size_t taken_ = 0;
    std::string error_;
};

} // namespace quorvane::platform::linux_::tools::ditto
