// A volume that errs where the test says.
#pragma once

#include <cstddef>
#include <limits>

#include <sys/types.h>

#include "platform/Values.h"

namespace quorvane::testing {

/// Where the files of a faulty volume err, as offsets in them.
struct Faults {
    static constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

    /// This byte is read as another than was written.
    std::size_t turnedByte = kNever;
    /// From here on reading fails, with EIO.
    std::size_t unreadableFrom = kNever;
    /// From here on writing fails, with EIO.
    std::size_t unwritableFrom = kNever;
};

/// A file system of one folder, kept in the memory of a process of its own, which nothing caches.
/// It has neither creation dates nor extended attributes.
class FaultyVolume {
public:
    /// Whether this machine can have one.
    static bool isPossible();

    /// Mounts it on the folder, in private mounts.
    FaultyVolume(const Path& folder, const Faults& faults);
    FaultyVolume(const FaultyVolume&) = delete;
    FaultyVolume& operator=(const FaultyVolume&) = delete;
    ~FaultyVolume() { vanish(); }

    /// Takes it away like a disk whose plug is pulled: from now on everything on it fails.
    void vanish();

private:
    pid_t server_ = -1;
};

} // namespace quorvane::testing
