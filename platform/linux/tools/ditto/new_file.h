// A file that appears under its name only once it is whole.
#pragma once

#include "platform/Values.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_::tools::ditto {

/// A file under a temporary name in the folder of its final one, deleted again unless it is kept.
class NewFile {
public:
    /// Throws Failure where it cannot be made.
    explicit NewFile(Path path);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    int descriptor() const { return file_.get(); }
    /// Has the content reach the disk and gives the file its name, in place of one that has it.
    /// Throws Failure.
    void keep();

private:
    Path path_;
    Path temporary_; ///< empty once the file is kept
    Descriptor file_;
};

} // namespace quorvane::platform::linux_::tools::ditto
