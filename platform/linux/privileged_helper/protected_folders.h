// The folders that nothing may remove or move, whoever asks.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/linux/privileged_helper/place.h"

namespace quorvane::platform::linux_::helper {

/// The standard folders of the machine and of one user, and those that the system stands on. The
/// client asks the kit's guard before; this holds against a client that does not.
class ProtectedFolders {
public:
    /// The user's home is the user database's, their other folders are those of the desktop's
    /// settings there. A user without a home has no folders of their own.
    explicit ProtectedFolders(uid_t user);

    /// Whether an operand is one of them or holds the user's home, by its path or as the same
    /// folder mounted elsewhere.
    bool contains(const char* operand, const Place& place) const;

private:
    bool isAboveHome(const char* operand, const struct stat* item) const;

    std::string home_;
    std::vector<std::string> chosen_; ///< with the desktop's settings
};

} // namespace quorvane::platform::linux_::helper
