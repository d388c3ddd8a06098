#include "platform/linux/standard_directories.h"

#include <sys/stat.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/UserIdentity.h"
#include "platform/linux/environment.h"
#include "platform/linux/plain_path.h"
#include "platform/linux/user_directories.h"

namespace quorvane::platform::linux_ {

struct StandardFolder {
    DirectoryKind kind;
    std::string_view path;
    // The name in `user-dirs.dirs` of a folder that only users have.
    const char* userName;
};

namespace {

constexpr std::string_view kSuperuserHome = "/var/root";

constexpr StandardFolder kFolders[] = {
    {DirectoryKind::applications, "/Applications", nullptr},
    {DirectoryKind::adminApplications, "/Applications/Utilities", nullptr},
    {DirectoryKind::library, "/Library", nullptr},
    {DirectoryKind::documentation, "/Library/Documentation", nullptr},
    {DirectoryKind::documents, "/Documents", "DOCUMENTS"},
    {DirectoryKind::desktop, "/Desktop", "DESKTOP"},
    {DirectoryKind::caches, "/Library/Caches", nullptr},
    {DirectoryKind::applicationSupport, "/Library/Application Support", nullptr},
    {DirectoryKind::movies, "/Movies", "VIDEOS"},
};

const StandardFolder* folderOf(DirectoryKind kind) {
    const auto* found = std::ranges::find(kFolders, kind, &StandardFolder::kind);
    return found == std::end(kFolders) ? nullptr : found;
}

bool includes(Domain domains, Domain domain) {
    return (static_cast<std::uint64_t>(domains) & static_cast<std::uint64_t>(domain)) != 0;
}

/// A folder to which paths below it can be appended; empty for the root.
Path plainFolder(const Path& path) {
    Path plain = plainPath(path);
    return plain == "/" ? Path() : plain;
}

// The folder that the user with this home chose; null without a choice.
MaybePath chosenFolder(const StandardFolder& folder, const Path& home, const Path& configuration) {
    if (folder.userName == nullptr) return std::nullopt;
    auto chosen = userDirectories(configuration, home);
    const auto entry = chosen.find(folder.userName);
    if (entry == chosen.end()) return std::nullopt;
    return std::move(entry->second);
}

bool isFolder(const Path& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

LinuxStandardDirectories::LinuxStandardDirectories(std::shared_ptr<UserIdentity> identity)
    : identity_(std::move(identity)) {}

std::vector<Path> LinuxStandardDirectories::searchPaths(DirectoryKind kind, Domain domain) {
    const StandardFolder* folder = folderOf(kind);
    if (folder == nullptr) return {};
    std::vector<Path> paths;
    if (includes(domain, Domain::user))
        if (auto path = userFolder(*folder)) paths.push_back(*path);
    if (folder->userName == nullptr) {
        if (includes(domain, Domain::local)) paths.emplace_back(folder->path);
        if (includes(domain, Domain::system)) paths.push_back("/System" + Path(folder->path));
    }
    return paths;
}

MaybePath LinuxStandardDirectories::userFolder(const StandardFolder& folder) {
    if (identity_->realUserId() == kSuperuserId) return superuserFolder(folder);
    const auto stated = identity_->homeDirectory();
    if (!stated) return std::nullopt;
    const Path home = plainFolder(*stated);
    const Path configuration = folderFromEnvironment("XDG_CONFIG_HOME").value_or(home + "/.config");
    if (auto chosen = chosenFolder(folder, home, configuration)) return chosen;
    return home + Path(folder.path);
}

MaybePath LinuxStandardDirectories::superuserFolder(const StandardFolder& folder) {
    const Path usual = Path(kSuperuserHome) + Path(folder.path);
    const auto stated = identity_->homeDirectoryForUser(identity_->consoleUser());
    if (!stated) return usual;
    const Path home = plainFolder(*stated);
    const auto chosen = chosenFolder(folder, home, home + "/.config");
    // Callers put the console user's home in the place of the superuser's, so a choice outside of
    // that home cannot be told.
    if (!chosen || !chosen->starts_with(home + "/")) return usual;
    return Path(kSuperuserHome) + chosen->substr(home.size());
}

std::size_t LinuxStandardDirectories::configurationString(int name, std::span<char> buffer) {
    if (name != kUserCacheDirectoryName) return 0;
    MaybePath cache = folderFromEnvironment("XDG_CACHE_HOME");
    if (!cache) {
        const auto home = identity_->homeDirectory();
        if (!home) return 0;
        cache = plainFolder(*home) + "/.cache";
    }
    if (!isFolder(*cache)) return 0;
    const Path value = plainFolder(*cache) + "/";
    if (!buffer.empty()) {
        const std::size_t copied = value.copy(buffer.data(), buffer.size() - 1);
        buffer[copied] = '\0';
    }
    return value.size() + 1;
}

} // namespace quorvane::platform::linux_
