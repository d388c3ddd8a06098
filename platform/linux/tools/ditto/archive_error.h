// Why the archive library failed.
#pragma once

#include <string>

#include <archive.h>

namespace quorvane::platform::linux_::tools::ditto {

/// The library's reason, with the system's where that says more.
std::string reasonOf(archive* which);

} // namespace quorvane::platform::linux_::tools::ditto
