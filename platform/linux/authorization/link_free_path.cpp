#include "platform/linux/authorization/link_free_path.h"

#include <array>
#include <climits>
#include <deque>
#include <optional>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/UserIdentity.h"
#include "platform/linux/plain_path.h"
#include "platform/linux/superusers_places.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr int kMaximumLinks = 40; // as in the kernel

bool belongsToSuperuser(const struct stat& status) { return status.st_uid == kSuperuserId; }

/// Whether none but the superuser can put a link into the folder.
bool isSuperusersAlone(const Path& folder) {
    struct stat status {};
    return ::lstat(folder.c_str(), &status) == 0 && linux_::isSuperusersAlone(status);
}

std::optional<Path> linkTarget(const Path& link) {
    std::array<char, PATH_MAX> target{};
    const auto length = ::readlink(link.c_str(), target.data(), target.size());
    if (length <= 0 || length == PATH_MAX) return std::nullopt;
    return Path(target.data(), static_cast<std::size_t>(length));
}

/// Walks down from the root, through folders that are the superuser's alone.
class Walk {
public:
    explicit Walk(const Path& path) : given_(prepend(pathParts(path))) {}

    /// Where the walk ends, with the parts that it did not take.
    Path end() {
        while (step()) {
        }
        Path path = reached_;
        for (const std::string& part : left_) path += "/" + part;
        return path.empty() ? "/" : path;
    }

private:
    /// Takes a part; false at the item and where the walk cannot go on.
    bool step() {
        const bool comesFromLink = left_.size() > given_;
        if (left_.size() < 2 || !isSuperusersAlone(reached_.empty() ? "/" : reached_)) return false;
        // A link's own ".." leads up from here, since there are no links above.
        if (left_.front() == "..") return comesFromLink && up();
        const Path next = reached_ + "/" + left_.front();
        struct stat status {};
        if (::lstat(next.c_str(), &status) != 0) return false;
        if (S_ISLNK(status.st_mode)) return belongsToSuperuser(status) && follow(next);
        if (!S_ISDIR(status.st_mode)) return false;
        reached_ = next;
        take();
        return true;
    }

    bool up() {
        reached_.erase(reached_.empty() ? 0 : reached_.rfind('/'));
        take();
        return true;
    }

    bool follow(const Path& link) {
        const auto target = linkTarget(link);
        if (!target || ++links_ > kMaximumLinks) return false;
        take();
        if (target->starts_with('/')) reached_.clear();
        prepend(pathParts(*target));
        return true;
    }

    /// Puts parts before those left; returns how many are left now.
    std::size_t prepend(const std::vector<std::string>& parts) {
        left_.insert(left_.begin(), parts.begin(), parts.end());
        return left_.size();
    }

    void take() {
        left_.pop_front();
        given_ = std::min(given_, left_.size());
    }

    Path reached_; ///< without links; empty for the root
    std::deque<std::string> left_;
    std::size_t given_; ///< how many of the parts left, the last ones, do not come from links
    int links_ = 0;
};

} // namespace

Path linkFreePath(const Path& path) { return Walk(path).end(); }

} // namespace quorvane::platform::linux_
