// The guard: which paths privileged operations must leave alone.

#include "kit/paths/QVLocalPaths.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "kit/base/characters.h"

namespace quorvane {
namespace {

bool isStandardFolder(std::string_view path) {
    using Locate = MaybePath (*)(UserDomain);
    constexpr std::array<Locate, 7> inBothDomains{
        QVLocalPaths::applicationDirectory, QVLocalPaths::adminApplicationDirectory,
        QVLocalPaths::documentDirectory,    QVLocalPaths::libraryDirectory,
        QVLocalPaths::prefsDirectory,       QVLocalPaths::cacheDirectory,
        QVLocalPaths::appSupportDirectory,
    };
    return std::any_of(inBothDomains.begin(), inBothDomains.end(),
                       [path](Locate locate) {
                           return path == locate(UserDomain::yes) || path == locate(UserDomain::no);
                       }) ||
           path == QVLocalPaths::desktopDirectory() || path == QVLocalPaths::userDirectory() ||
           path == QVLocalPaths::systemLibraryDirectory() ||
           path == QVLocalPaths::localDocumentationDirectory();
}

bool isFixedFolder(std::string_view path) {
    constexpr std::array<std::string_view, 6> folders{"/Users/Shared", "/usr",  "/var",
                                                      "/bin",          "/sbin", "/System"};
    return std::find(folders.begin(), folders.end(), path) != folders.end();
}

bool isBelowSystemFolder(std::string_view path) {
    constexpr std::array<std::string_view, 5> prefixes{"/var/", "/bin/", "/sbin/", "/private/var/",
                                                       "/System/"};
    if (path.starts_with("/usr/") && !path.starts_with("/usr/local/")) return true;
    return std::any_of(prefixes.begin(), prefixes.end(),
                       [path](std::string_view prefix) { return path.starts_with(prefix); });
}

} // namespace

bool QVLocalPaths::isPathSystemDirectory(const MaybePath& path, ExactMatch exactMatch) {
    if (!path) return false;
    std::string_view text = *path;
    if (text == "/") return true;
    if (characterCount(text) < 3) return false;
    // Two characters go, not one: callers rely on a trailing slash taking a path off the exact
    // list.
    if (text.ends_with('/')) text = dropLastCharacters(text, 2);
    if (isStandardFolder(text) || isFixedFolder(text)) return true;
    return exactMatch == ExactMatch::no && isBelowSystemFolder(text);
}

bool QVLocalPaths::isPathOnTimeMachineVolume(const MaybePath& path) {
    if (!path || !path->starts_with("/Volumes/")) return false;
    std::string_view rest = *path;
    while (!rest.empty()) {
        const std::size_t slash = rest.find('/');
        if (rest.substr(0, slash) == "Backups.backupdb") return true;
        if (slash == std::string_view::npos) break;
        rest.remove_prefix(slash + 1);
    }
    return false;
}

} // namespace quorvane
