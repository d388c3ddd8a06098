// A zip archive that is being written.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <archive.h>
#include <sys/stat.h>

#include "platform/Values.h"

namespace quorvane::platform::linux_::tools::ditto {

/// Writes entries one after the other. Throws Failure.
class ZipWriter {
public:
    /// Onto an open file, which stays the caller's.
    explicit ZipWriter(int file);

    /// The name has no slash in front; that of a folder is marked in the archive by its status.
    void addFolder(const std::string& name, const struct stat& status);
    void addLink(const std::string& name, const struct stat& status, const std::string& target);
    /// What is read from the file, up to the length that the status tells; a file that ends before
    /// is a failure.
    void addFile(const std::string& name, const struct stat& status, int file);
    /// Writes the archive's directory.
    void finish();

private:
    struct Free {
        void operator()(archive* writer) const { archive_write_free(writer); }
    };

    void addHeader(const std::string& name, const struct stat& status, const char* linkTarget);
    void check(int result) const;

    std::unique_ptr<archive, Free> writer_;
    std::vector<char> buffer_;
};

} // namespace quorvane::platform::linux_::tools::ditto
