#include "kit/paths/QVLocalPaths.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <string_view>

#include "kit/base/components.h"
#include "platform/Services.h"
#include "platform/UserIdentity.h"

namespace quorvane {
namespace {

using platform::DirectoryKind;
using platform::Domain;

platform::UserIdentity& identity() { return *platform::services().userIdentity; }

bool isSuperuser() { return identity().realUserId() == platform::kSuperuserId; }

Domain domainOf(UserDomain user) { return user == UserDomain::yes ? Domain::user : Domain::local; }

/// Cuts a prefix that names the superuser's home. Lengths are given, not taken from the prefixes:
/// the second cut is one short, and installed tools rely on the folder names that come of it.
void cutIfPrefixed(Path& path, std::string_view prefix, std::size_t length) {
    if (path.starts_with(prefix)) path.erase(0, length);
}

/// The superuser's folder, told for the user at the console.
MaybePath folderOfConsoleUser(Path path) {
    cutIfPrefixed(path, "/var/root", 9);
    cutIfPrefixed(path, "/private/var/root", 16);
    return joinPath(QVLocalPaths::userDirectory(), path);
}

} // namespace

MaybePath QVLocalPaths::pathForDirectory(DirectoryKind kind, Domain domain) {
    const auto folders = platform::services().standardDirectories->searchPaths(kind, domain);
    if (folders.empty()) return std::nullopt;
    if (domain == Domain::user && isSuperuser()) return folderOfConsoleUser(folders.front());
    return folders.front();
}

MaybePath QVLocalPaths::applicationDirectory(UserDomain user) {
    return pathForDirectory(DirectoryKind::applications, domainOf(user));
}

MaybePath QVLocalPaths::adminApplicationDirectory(UserDomain user) {
    return pathForDirectory(DirectoryKind::adminApplications, domainOf(user));
}

MaybePath QVLocalPaths::documentDirectory(UserDomain user) {
    return pathForDirectory(DirectoryKind::documents, domainOf(user));
}

MaybePath QVLocalPaths::libraryDirectory(UserDomain user) {
    return pathForDirectory(DirectoryKind::library, domainOf(user));
}

MaybePath QVLocalPaths::prefsDirectory(UserDomain user) {
    return joinPath(libraryDirectory(user), "Preferences");
}

MaybePath QVLocalPaths::cacheDirectory(UserDomain user) {
    return pathForDirectory(DirectoryKind::caches, domainOf(user));
}

MaybePath QVLocalPaths::appSupportDirectory(UserDomain user) {
    return pathForDirectory(DirectoryKind::applicationSupport, domainOf(user));
}

MaybePath QVLocalPaths::logDirectory(UserDomain user) {
    return joinPath(libraryDirectory(user), "Logs");
}

MaybePath QVLocalPaths::movieDirectory() {
    return pathForDirectory(DirectoryKind::movies, Domain::user);
}

MaybePath QVLocalPaths::desktopDirectory() {
    return pathForDirectory(DirectoryKind::desktop, Domain::user);
}

MaybePath QVLocalPaths::systemLibraryDirectory() {
    return pathForDirectory(DirectoryKind::library, Domain::system);
}

MaybePath QVLocalPaths::localDocumentationDirectory() {
    return pathForDirectory(DirectoryKind::documentation, Domain::local);
}

MaybePath QVLocalPaths::trashDirectory() { return joinPath(userDirectory(), ".Trash"); }

MaybePath QVLocalPaths::darwinCacheDirectory() {
    std::array<char, 1024> buffer{};
    const std::size_t length = platform::services().standardDirectories->configurationString(
        platform::kUserCacheDirectoryName, buffer);
    if (length == 0) return std::nullopt;
    return Path(buffer.data(), std::min(length, buffer.size()) - 1);
}

MaybePath QVLocalPaths::userDirectory() {
    if (isSuperuser()) return identity().homeDirectoryForUser(currentConsoleUser());
    return identity().homeDirectory();
}

MaybeText QVLocalPaths::username() {
    return isSuperuser() ? currentConsoleUser() : identity().userName();
}

MaybeText QVLocalPaths::currentConsoleUser() {
    MaybeText owner = identity().consoleUser();
    if (owner == "loginwindow") return std::nullopt; // the login screen: nobody is logged in
    return owner;
}

MaybePath QVLocalPaths::tempDirectory() { return identity().temporaryDirectory(); }

std::string QVLocalPaths::uuid() { return identity().globallyUniqueString(); }

std::string QVLocalPaths::randomString(unsigned length) {
    constexpr std::string_view alphabet = "abcdefghijklmnopqrstuvwxyz0123456789";
    const auto ticks = static_cast<std::uint64_t>(std::clock());
    const auto now = static_cast<std::uint64_t>(std::time(nullptr));
    // The process-wide generator is seeded on every call, for length 0 too: callers that draw from
    // it afterwards get the sequence of this seed.
    std::srand(static_cast<unsigned>(ticks * now));
    std::string text;
    text.reserve(length);
    for (unsigned i = 0; i < length; ++i) {
        const int index = std::rand() % static_cast<int>(alphabet.size());
        text += alphabet[static_cast<std::size_t>(index)];
    }
    return text;
}

MaybePath QVLocalPaths::tempFile() { return joinPath(tempDirectory(), uuid() + randomString(8)); }

MaybePath QVLocalPaths::ensureTrailingSlash(const MaybePath& path) {
    if (!path || path->empty() || path->ends_with('/')) return path;
    return *path + '/';
}

MaybePath QVLocalPaths::stripTrailingSlash(const MaybePath& path) {
    if (!path || path->size() < 2 || !path->ends_with('/')) return path;
    return path->substr(0, path->size() - 1);
}

} // namespace quorvane
