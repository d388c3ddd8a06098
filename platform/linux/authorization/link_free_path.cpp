#include "platform/linux/authorization/link_free_path.h"

#include <array>
#include <climits>
#include <deque>
#include <optional>
#include <string_view>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/UserIdentity.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr int kMaximumLinks = 40; // as in the kernel

/// The parts of a path, without empty and "." ones.
std::deque<std::string> parts(std::string_view path) {
    std::deque<std::string> found;
    while (!path.empty()) {
        const std::string_view part = path.substr(0, path.find('/'));
        path.remove_prefix(part.size() == path.size() ? part.size() : part.size() + 1);
        if (!part.empty() && part != ".") found.emplace_back(part);
    }
    return found;
}

bool belongsToSuperuser(const struct stat& status) { return status.st_uid == kSuperuserId; }

/// Whether none but the superuser can put a link into the folder. In a sticky folder others can.
bool isSuperusersAlone(const Path& folder) {
    struct stat status {};
    return ::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           belongsToSuperuser(status) && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
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
    explicit Walk(const Path& path) : left_(parts(path)), given_(left_.size()) {}

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
        const auto added = parts(*target);
        left_.insert(left_.begin(), added.begin(), added.end());
        return true;
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

Path plainPath(const Path& path) {
    Path plain;
    for (const std::string& part : parts(path)) plain += "/" + part;
    return plain.empty() ? "/" : plain;
}

Path linkFreePath(const Path& path) { return Walk(path).end(); }

} // namespace quorvane::platform::linux_
