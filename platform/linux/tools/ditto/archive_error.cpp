#include "platform/linux/tools/ditto/archive_error.h"

#include <cerrno>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_::tools::ditto {

std::string reasonOf(archive* which) {
    const char* text = archive_error_string(which);
    std::string reason = text == nullptr ? "the archive is damaged" : text;
    const int code = archive_errno(which);
    // These two numbers are what the library gives its own reasons.
    if (code > 0 && code != EILSEQ && code != EINVAL) reason += ": " + systemError(code).text;
    return reason;
}

} // namespace quorvane::platform::linux_::tools::ditto
