#include "platform/linux/tools/ditto/new_file.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/tools/program.h"

namespace quorvane::platform::linux_::tools::ditto {

NewFile::NewFile(Path path)
    : path_(std::move(path)), temporary_(path_.substr(0, path_.rfind('/') + 1) + ".archive-XXXXXX"),
      file_(::mkostemp(temporary_.data(), O_CLOEXEC)) {
    if (!file_) throw Failure(path_, systemError());
}

NewFile::~NewFile() {
    if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

void NewFile::keep() {
    if (::fchmod(file_.get(), withoutMask(0666)) != 0 || ::fsync(file_.get()) != 0 ||
        ::rename(temporary_.c_str(), path_.c_str()) != 0)
        throw Failure(path_, systemError());
    temporary_.clear();
}

} // namespace quorvane::platform::linux_::tools::ditto
