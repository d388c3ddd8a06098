// Reading open directories.
#pragma once

#include <string>
#include <vector>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

struct DirectoryEntry {
    std::string name;
    /// Whether the listing says that it is a directory; some file systems never say.
    bool isDirectory = false;
};

/// The entries of an open directory without "." and "..", in the order of the listing. Reads on
/// from where the descriptor stands.
Result<std::vector<DirectoryEntry>> readEntries(int directory);

} // namespace quorvane::platform::linux_
