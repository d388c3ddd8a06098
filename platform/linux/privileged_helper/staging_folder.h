// A folder of the superuser's beside a destination.
#pragma once

#include "platform/linux/privileged_helper/place.h"
#include "platform/linux/privileged_helper/staging_record.h"

namespace quorvane::platform::linux_::helper {

/// What is put together in it comes to nobody's hands before it is whole. Where a volume keeps no
/// owners or modes it protects nothing: there, nothing can be kept from whom the volume is given
/// to. It stays until it is removed, so that a child process may go on with it.
class StagingFolder {
public:
    /// Makes it, under a random name. Null with errno set where that cannot be.
    StagingFolder(const Place& beside, const Path& folderAbove, const Path& records);

    explicit operator bool() const { return static_cast<bool>(folder_); }
    const Descriptor& folder() const { return folder_; }
    /// Removes it with everything in it. Where that fails it stays on record for a later session.
    void remove();

private:
    const Place& beside_;
    std::string name_;
    StagingRecord record_;
    Descriptor folder_;
};

/// Removes, in a process of its own, what processes left behind that were killed. A folder is only
/// removed if it is the one on record, whole volumes below it never, and none that is in use.
void removeLeftovers(const Path& records);

} // namespace quorvane::platform::linux_::helper
