// A volume that keeps neither owners nor modes, as those of other systems do not.
#pragma once

#include <sys/types.h>

#include "platform/Values.h"

namespace quorvane::testing {

/// Shows a folder with everything on it as one user's, whoever made it. Ends with this.
class OwnerlessVolume {
public:
    /// Whether this machine can have one.
    static bool isPossible();

    /// Mounts it on the place, in private mounts.
    OwnerlessVolume(const Path& folder, const Path& place, uid_t owner);
    OwnerlessVolume(const OwnerlessVolume&) = delete;
    OwnerlessVolume& operator=(const OwnerlessVolume&) = delete;
    ~OwnerlessVolume();

    /// Whoever reads anything there waits from now on, until it goes on.
    void pause() const;
    void goOn() const;

private:
    pid_t server_ = -1;
};

} // namespace quorvane::testing
