#include "platform/linux/privileged_helper/protected_folders.h"

#include <pwd.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "platform/linux/acting_as.h"
#include "platform/linux/plain_path.h"
#include "platform/linux/user_directories.h"

namespace quorvane::platform::linux_::helper {
namespace {

constexpr std::array<const char*, 27> kOfTheSystem{"/bin",
                                                   "/boot",
                                                   "/dev",
                                                   "/etc",
                                                   "/home",
                                                   "/lib",
                                                   "/lib64",
                                                   "/media",
                                                   "/mnt",
                                                   "/opt",
                                                   "/proc",
                                                   "/root",
                                                   "/run",
                                                   "/sbin",
                                                   "/srv",
                                                   "/sys",
                                                   "/tmp",
                                                   "/usr",
                                                   "/var",
                                                   "/System",
                                                   "/Users",
                                                   "/Users/Shared",
                                                   "/System/Library",
                                                   "/private",
                                                   "/private/var",
                                                   "/Volumes",
                                                   "/usr/local"};

/// In the machine's root folder and in the user's home.
constexpr std::array<const char*, 8> kStandard{"/Applications",
                                               "/Applications/Utilities",
                                               "/Library",
                                               "/Library/Application Support",
                                               "/Library/Caches",
                                               "/Library/Documentation",
                                               "/Library/Preferences",
                                               "/Documents"};

constexpr std::array<const char*, 8> kOfTheUser{"",         "/Desktop", "/Movies",       "/.Trash",
                                                "/.config", "/.local",  "/.local/share", "/.cache"};

bool isSame(const char* folder, std::string_view operand, const struct stat* item) {
    struct stat status {};
    return operand == folder || (item != nullptr && ::stat(folder, &status) == 0 &&
                                 status.st_dev == item->st_dev && status.st_ino == item->st_ino);
}

} // namespace

ProtectedFolders::ProtectedFolders(uid_t user) {
    // Single-threaded, like the whole program. NOLINTNEXTLINE(concurrency-mt-unsafe)
    const passwd* account = ::getpwuid(user);
    if (account == nullptr || account->pw_dir[0] != '/') return;
    home_ = plainPath(account->pw_dir);
    const ActingAs owner(FileRights{account->pw_uid, account->pw_gid, {}}); // it may lead anywhere
    if (!owner) return;
    for (auto& [name, folder] : userDirectories(home_ + "/.config", home_))
        chosen_.push_back(std::move(folder));
}

/// Who takes such a folder away takes the home with it.
bool ProtectedFolders::isAboveHome(const char* operand, const struct stat* item) const {
    for (std::size_t end = home_.rfind('/'); end != std::string::npos && end > 0;
         end = home_.rfind('/', end - 1))
        if (isSame(home_.substr(0, end).c_str(), operand, item)) return true;
    return false;
}

bool ProtectedFolders::contains(const char* operand, const Place& place) const {
    struct stat status {};
    const struct stat* item = place.status(status) ? &status : nullptr;
    const auto isOperand = [&](const std::string& folder) {
        return isSame(folder.c_str(), operand, item);
    };
    const auto isBelow = [&](const std::string& root) {
        return [&, root](const char* folder) { return isOperand(root + folder); };
    };
    return isOperand("/") || isAboveHome(operand, item) ||
           std::any_of(chosen_.begin(), chosen_.end(), isOperand) ||
           std::any_of(kOfTheSystem.begin(), kOfTheSystem.end(), isBelow("")) ||
           std::any_of(kStandard.begin(), kStandard.end(), isBelow("")) ||
           (!home_.empty() && (std::any_of(kStandard.begin(), kStandard.end(), isBelow(home_)) ||
                               std::any_of(kOfTheUser.begin(), kOfTheUser.end(), isBelow(home_))));
}

} // namespace quorvane::platform::linux_::helper
