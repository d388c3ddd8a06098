// Standard folders, the user at the console, names for temporary files, and the guard that keeps
// privileged operations away from system folders.
#pragma once

#include <string>

#include "platform/StandardDirectories.h"
#include "platform/Values.h"

namespace quorvane {

/// Which of a kind's folders is meant: the user's own, or the machine-wide ("local") one.
enum class UserDomain : bool { no, yes };
/// Whether the guard looks at the list of protected folders only, or at what lies below them as
/// well.
enum class ExactMatch : bool { no, yes };

/// The bottom of the kit: class operations without state, from any thread. Every failure is a null
/// result; nothing is logged or thrown.
///
/// A process of the superuser works for the person at the console: user folders, `userDirectory`,
/// `username` and `trashDirectory` are that person's then, and null or empty when nobody is there.
class QVLocalPaths {
public:
    QVLocalPaths() = delete;

    /// `pathForDirectory:forUserDomain:`: the first folder of a kind in a domain.
    static MaybePath pathForDirectory(platform::DirectoryKind kind, platform::Domain domain);

    static MaybePath applicationDirectory(UserDomain user);      ///< `applicationDirectory:`
    static MaybePath adminApplicationDirectory(UserDomain user); ///< `adminApplicationDirectory:`
    static MaybePath documentDirectory(UserDomain user);         ///< `documentDirectory:`
    static MaybePath libraryDirectory(UserDomain user);          ///< `libraryDirectory:`
    static MaybePath prefsDirectory(UserDomain user);            ///< `prefsDirectory:`
    static MaybePath cacheDirectory(UserDomain user);            ///< `cacheDirectory:`
    static MaybePath appSupportDirectory(UserDomain user);       ///< `appSupportDirectory:`
    static MaybePath logDirectory(UserDomain user);              ///< `logDirectory:`
    static MaybePath movieDirectory();                           ///< `movieDirectory`
    static MaybePath desktopDirectory();                         ///< `desktopDirectory`
    static MaybePath systemLibraryDirectory();                   ///< `systemLibraryDirectory`
    static MaybePath localDocumentationDirectory();              ///< `localDocumentationDirectory`
    static MaybePath trashDirectory();                           ///< `trashDirectory`
    /// `darwinCacheDirectory`: the per-user cache folder that the system configures, with a final
    /// "/".
    static MaybePath darwinCacheDirectory();

    /// `userDirectory`: home of the user.
    static MaybePath userDirectory();
    /// `username`: short name of the user.
    static MaybeText username();
    /// `currentConsoleUser`: short name of the user at the console; null at the login screen.
    static MaybeText currentConsoleUser();

    /// `tempDirectory`: the per-user folder for temporary files, as the platform spells it.
    static MaybePath tempDirectory();
    /// `uuid`: a new globally unique string at each call.
    static std::string uuid();
    /// `randomString:`: that many characters out of a-z and 0-9. Not unique and no secret: it seeds
    /// the process-wide generator from the clock at each call, so that two threads may get equal
    /// strings.
    static std::string randomString(unsigned length);
    /// `tempFile`: a path for a new temporary file; nothing is created.
    static MaybePath tempFile();

    /// `ensureTrailingSlash:`, `stripTrailingSlash:`: add a missing final "/", take one away. Null
    /// and empty paths, and "/" when stripping, come back as they are.
    static MaybePath ensureTrailingSlash(const MaybePath& path);
    static MaybePath stripTrailingSlash(const MaybePath& path);

    /// `isPathSystemDirectory:`, `isPathSystemDirectory:exactMatch:`: whether the path is a folder
    /// of the operating system or a standard folder of the user or machine, or lies below one of
    /// the system's. A test of the text as it stands: links, ".." and case are not resolved. Null
    /// is no such folder.
    static bool isPathSystemDirectory(const MaybePath& path,
                                      ExactMatch exactMatch = ExactMatch::no);
    /// `isPathOnTimeMachineVolume:`: whether the path lies in the snapshot store of a backup
    /// volume.
    static bool isPathOnTimeMachineVolume(const MaybePath& path);
};

} // namespace quorvane
