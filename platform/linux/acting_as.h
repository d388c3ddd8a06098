// Working in a user's folders with that user's rights.
#pragma once

#include <sys/types.h>

#include <optional>
#include <vector>

namespace quorvane::platform::linux_ {

/// The numbers that decide what a user may do with files.
struct FileRights {
    uid_t uid = 0;
    gid_t gid = 0;
    std::vector<gid_t> groups;
};

/// While it lives, the calling thread has a user's rights on files, no more and no less, and what
/// it makes belongs to that user; all else about the process stays. Thus nothing that a user puts
/// in the way of a privileged process leads it further than the user could go, and the user can
/// neither signal nor trace it. For the superuser's processes only; stays on one thread.
class ActingAs {
public:
    /// Null rights change nothing.
    explicit ActingAs(const std::optional<FileRights>& rights);
    ActingAs(const ActingAs&) = delete;
    ActingAs(ActingAs&&) = delete;
    ActingAs& operator=(const ActingAs&) = delete;
    ActingAs& operator=(ActingAs&&) = delete;
    /// Ends the process where the thread's own rights do not come back. Leaves errno as it was.
    ~ActingAs();

    /// Whether the thread has the rights now; false where the process may not take them, which
    /// leaves it with its own.
    explicit operator bool() const { return state_ != State::refused; }

private:
    enum class State { unchanged, changed, refused };

    State state_ = State::unchanged;
    uid_t ownUid_ = 0;
    gid_t ownGid_ = 0;
    std::vector<gid_t> ownGroups_;
};

} // namespace quorvane::platform::linux_
