// Files and folders, the plain way first and with administrator rights where that fails.
#pragma once

#include <any>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kit/files/file_copy.h"
#include "platform/Digests.h"
#include "platform/FileManager.h"
#include "platform/Presentation.h"
#include "platform/PropertyLists.h"
#include "platform/Values.h"

namespace quorvane {

/// Whether an operation that fails the plain way may go on with administrator rights.
enum class ShouldAuth : bool { no, yes };
/// Whether a touch sets the creation date to now as well.
enum class SetCreationDate : bool { no, yes };
/// Whether an archive of a folder holds the folder itself or only what is in it.
enum class IncludeParent : bool { no, yes };
/// Accepted for callers of earlier versions; has no effect.
enum class SearchSubdirs : bool { no, yes };

/// Is asked while a file is hashed. An operation left empty is one that the delegate does not
/// respond to.
struct ChecksumDelegate {
    /// `checksumShouldContinue:`: false cancels the run, some chunks later. On a thread of the
    /// concurrent queue after each 50 MiB; calls may overlap, and come after the end of the run.
    std::function<bool(const Path& file)> checksumShouldContinue;
};

/// Class operations on absolute paths, without state, from any thread.
///
/// Operations that change something come in up to three forms. The plain form allows the privileged
/// fallback; the form with ShouldAuth chooses; both return true for done or under way, since a tool
/// that runs with administrator rights may still be at it. The form with seconds waits until the
/// change is visible, for at most that long, and answers whether it is: 0 or less looks once. On
/// the main thread it keeps the application's events going while it waits.
///
/// A null path gives false, null or nothing done; where an operation differs, it says so.
class QVFileManager {
public:
    QVFileManager() = delete;

    // Trash and removal

    /// `fileExistsAtPath:`, `isDirectoryAtPath:`: links are followed, a dangling one is absent.
    static bool fileExistsAtPath(const MaybePath& path);
    static bool isDirectoryAtPath(const MaybePath& path);

    /// `trashFile:`, `trashFile:shouldAuth:`: unlocks the item and moves it to the Trash. An absent
    /// item is success.
    static bool trashFile(const MaybePath& item, ShouldAuth shouldAuth = ShouldAuth::yes);
    /// `trashFile:timeout:`.
    static bool trashFile(const MaybePath& item, std::chrono::seconds timeout);
    /// `trashDirectoryContents:`, `trashDirectoryContents:shouldAuth:`: every entry of the folder;
    /// true if all went, or there were none.
    static bool trashDirectoryContents(const MaybePath& folder,
                                       ShouldAuth shouldAuth = ShouldAuth::yes);
    /// `trashFilesOfType:inFolder:`: every file below the folder with that extension (without the
    /// dot, in any case). Folders, bundles included, are searched and never trashed themselves.
    /// Answers the paths that were tried, depth first.
    static std::vector<Path> trashFilesOfType(const MaybeText& extension, const MaybePath& folder);
    /// `trashFilesNamed:inFolder:`: the same for files with exactly that name.
    static std::vector<Path> trashFilesNamed(const MaybeText& name, const MaybePath& folder);

    /// `removeFile:`, `removeFile:shouldAuth:`: unlocks the item and deletes it with all below it.
    /// An absent item is success.
    static bool removeFile(const MaybePath& item, ShouldAuth shouldAuth = ShouldAuth::yes);
    /// `removeFile:timeout:`.
    static bool removeFile(const MaybePath& item, std::chrono::seconds timeout);
    /// `isFolderEmpty:`: whether the folder holds nothing but ".DS_Store", "Icon\r" and folders
    /// that are empty in this sense. Links to folders are followed. What cannot be listed counts as
    /// empty.
    static bool isFolderEmpty(const MaybePath& folder);
    /// `removeFolderIfEmpty:`: `removeFile:` of a folder that is empty in that sense.
    static bool removeFolderIfEmpty(const MaybePath& folder);

    // Create, move and copy. Destinations are full paths of the new items.

    /// `createDirectory:`, `createDirectory:shouldAuth:`: makes the folder and missing ones above
    /// it; an existing folder is success. False, without the fallback, on a drive that is not
    /// mounted.
    static bool createDirectory(const MaybePath& folder, ShouldAuth shouldAuth = ShouldAuth::yes);
    /// `createDirectory:timeout:`.
    static bool createDirectory(const MaybePath& folder, std::chrono::seconds timeout);
    /// `createDirectoryStructure:destination:`: makes a folder below the destination that has the
    /// source's whole path, or that of the folder around a file or package. Answers its path, made
    /// or not.
    static MaybePath createDirectoryStructure(const MaybePath& source,
                                              const MaybePath& destination);
    /// `compressFile:toDestinationFile:`, `compressFile:toDestinationFile:includeParent:`: makes a
    /// zip archive with the system's tool; one that is there goes to the Trash first. Answers
    /// whether an archive is there afterwards.
    static bool compressFile(const MaybePath& source, const MaybePath& archive,
                             IncludeParent includeParent = IncludeParent::yes);
    /// `decompressFile:toDestinationFolder:`: unpacks an archive into a folder that replaces the
    /// one that is there, which goes to the Trash. Answers whether a folder is there afterwards.
    static bool decompressFile(const MaybePath& archive, const MaybePath& destination);
    /// `copyFile:toPath:`, `copyFile:toPath:shouldAuth:`: copies an item with all below it. The
    /// plain way fails where the destination exists; the fallback overwrites it.
    static bool copyFile(const MaybePath& source, const MaybePath& destination,
                         ShouldAuth shouldAuth = ShouldAuth::yes);
    /// `copyFile:toPath:timeout:`.
    static bool copyFile(const MaybePath& source, const MaybePath& destination,
                         std::chrono::seconds timeout);
    /// `copyContentsOfDirectory:toPath:timeout:`: copies each entry into an existing folder, with
    /// the time-out for each, and stops at the first that fails. An empty or unreadable folder is
    /// success.
    static bool copyContentsOfDirectory(const MaybePath& source, const MaybePath& destination,
                                        std::chrono::seconds timeout);
    /// `moveFile:toPath:`, `moveFile:toPath:shouldAuth:`: moves or renames an item. The plain way
    /// fails where the destination exists; the fallback overwrites it. A change of the letters'
    /// case alone takes two steps, which volumes that ignore case need.
    static bool moveFile(const MaybePath& source, const MaybePath& destination,
                         ShouldAuth shouldAuth = ShouldAuth::yes);
    /// `moveFile:toPath:timeout:`: waits until the source is gone.
    static bool moveFile(const MaybePath& source, const MaybePath& destination,
                         std::chrono::seconds timeout);
    /// `createEmptyFile:`: puts an empty file at the path, with the fallback.
    static bool createEmptyFile(const MaybePath& file);

    // Queries and volumes

    /// `isPackageAtPath:`: whether the desktop shows the folder as one item.
    static bool isPackageAtPath(const MaybePath& path);
    /// `isSymbolicLinkAtPath:`: whether the item itself is a symbolic link.
    static bool isSymbolicLinkAtPath(const MaybePath& path);
    /// `isVolumeMountedForPath:`, `isDriveMountedForPath:`: false for a path below a folder of
    /// "/Volumes" that is not there. The two differ in the prefix by which they know such paths:
    /// "/Volumes", which "/VolumesX" has too, and "/Volumes/". True for null, which has neither.
    static bool isVolumeMountedForPath(const MaybePath& path);
    static bool isDriveMountedForPath(const MaybePath& path);
    /// `volumeMountPointForPath:`: the first mounted local volume that holds the path, which need
    /// not exist; else null below "/Volumes", and "/".
    static MaybePath volumeMountPointForPath(const MaybePath& path);
    /// `modificationDateForFile:`, `creationDateForFile:`: of the item itself; null when it cannot
    /// be read.
    static std::optional<platform::FileTime> modificationDateForFile(const MaybePath& item);
    static std::optional<platform::FileTime> creationDateForFile(const MaybePath& item);
    /// `fileSize:`: bytes of the file, or of all files below the folder; folders add nothing, links
    /// to files their own size. Links to folders are followed, except back to a folder above them.
    /// 0 for what is not there.
    static std::uint64_t fileSize(const MaybePath& item);
    /// `infoForDiskAtMountpoint:`: what the system's disk tool says, in 5 seconds at most; null
    /// when it says nothing. What cannot be read as a property list goes to the console log.
    static std::optional<platform::PropertyList>
    infoForDiskAtMountpoint(const MaybePath& mountPoint);

    // Names, wildcards, sizes and waiting

    /// `formatFileSize:`: bytes as "1023 B", "1.50 KB", and so on up to TB, in steps of 1,024.
    static std::string formatFileSize(double bytes);
    /// `filesMatchingWildcardPath:`, `…fromBasePath:`, `…fromBasePath:searchSubdirs:`: the existing
    /// items whose paths match, case-sensitively. In a component with a "*", that stands for any
    /// characters or none, and "?" for one; components without one are literal. A pattern without
    /// any "*" is answered as it stands below the base path, whether it exists or not. Without a
    /// base path it starts at "/". Subfolders are never searched.
    static std::vector<Path>
    filesMatchingWildcardPath(const MaybePath& pattern, const MaybePath& basePath = std::nullopt,
                              SearchSubdirs searchSubdirs = SearchSubdirs::no);
    /// `decodeWildcardPath:fromBasePath:`: the first of those, else the pattern as it stands below
    /// the base path; null without one.
    static MaybePath decodeWildcardPath(const MaybePath& pattern, const MaybePath& basePath);
    /// `validateFilename:`: a typed name without a dot at its start (a second one stays), white
    /// space at its ends, and any "/" and ":".
    static MaybeText validateFilename(const MaybeText& name);
    /// `uniqueFilename:`: the path, or, where something is, the first free of "NAME 2.EXT",
    /// "NAME 3.EXT", ...
    static MaybePath uniqueFilename(const MaybePath& path);
    /// `waitForFileCreation:timeout:`: one look: where the file is missing or empty, logs that and
    /// pauses 500 microseconds. Callers loop themselves.
    static void waitForFileCreation(const MaybePath& file, std::chrono::seconds timeout);
    /// `waitForFileWrites:`, `waitForFileWrites:lockFile:`: waits, however long, until the file was
    /// modified more than 5 seconds ago, and logs that. A lock file that exists has the two lines
    /// logged for a quiet file too, and is not waited for.
    static void waitForFileWrites(const MaybePath& file, const MaybePath& lockFile = std::nullopt);
    /// `fileIsOpenForWriting:`: whether any process has it open for writing, as far as the system's
    /// lister of open files tells this user within 3 seconds.
    static bool fileIsOpenForWriting(const MaybePath& file);

    // Locks, permissions, metadata and timestamps

    /// `isFileLocked:`: the item's immutable flag; false when it cannot be read.
    static bool isFileLocked(const MaybePath& item);
    /// `lockFile:`, `unlockFile:`: set and clear it. Failures are logged.
    static void lockFile(const MaybePath& item);
    static void unlockFile(const MaybePath& item);
    /// `lockFolder:`, `unlockFolder:`: the same for every file below the folder; folders stay as
    /// they are. Links to folders are followed.
    static void lockFolder(const MaybePath& folder);
    static void unlockFolder(const MaybePath& folder);
    /// `setPosixPermissions:forFile:`: the permission bits. Failures are logged.
    static void setPosixPermissions(unsigned long mode, const MaybePath& item);
    /// `disableFileSystemCachingForFile:`: does nothing; kept for callers of earlier versions.
    static void disableFileSystemCachingForFile(const MaybePath& item);
    /// `metadataValueForKey:file:`: an extended attribute as text. Values above 255 bytes cannot be
    /// read: the answer has their length but not their bytes. Null when absent, empty or not UTF-8.
    static MaybeText metadataValueForKey(const MaybeText& key, const MaybePath& item);
    /// `setMetadataValue:forKey:file:`: writes it, up to a first NUL.
    static bool setMetadataValue(const MaybeText& value, const MaybeText& key,
                                 const MaybePath& item);
    /// `touchFile:`, `touchFile:setCreationDate:`: sets the item's times to now, with administrator
    /// rights where the user may not write it; creates nothing. True once the tool has run.
    static bool touchFile(const MaybePath& item,
                          SetCreationDate setCreationDate = SetCreationDate::no);
    /// `setModificationDate:forFile:`.
    static bool setModificationDate(platform::FileTime date, const MaybePath& item);

    // Hashing. Digests read as lowercase hexadecimal digits, two a byte.

    /// `md5HashWithContext:`, `sha1HashWithContext:`, `sha256HashWithContext:`,
    /// `sha512HashWithContext:`: the digest of what the context was fed; the caller's own goes on.
    /// Null for a context of another algorithm, and for one that is not usable.
    static MaybeText md5HashWithContext(platform::DigestContext context);
    static MaybeText sha1HashWithContext(platform::DigestContext context);
    static MaybeText sha256HashWithContext(platform::DigestContext context);
    static MaybeText sha512HashWithContext(platform::DigestContext context);
    /// `md5HashForFile:`, `md5HashForFile:delegate:` and so on: the digest of a whole file, read in
    /// constant memory. The delegate may cancel; it is kept alive as long as it may be asked. Null
    /// when it did, and when the file cannot be opened, which the console log tells, or read, which
    /// the application's log tells.
    static MaybeText md5HashForFile(const MaybePath& file,
                                    const std::shared_ptr<const ChecksumDelegate>& delegate = {});
    static MaybeText sha1HashForFile(const MaybePath& file,
                                     const std::shared_ptr<const ChecksumDelegate>& delegate = {});
    static MaybeText
    sha512HashForFile(const MaybePath& file,
                      const std::shared_ptr<const ChecksumDelegate>& delegate = {});

    // Copies with progress and verification

    /// `copyFileWithProgress:destinations:verificationType:delegate:object:object:`: copies a file
    /// to all destinations in one pass, over what is there, and makes the folders for them. With
    /// verification every chunk is read back from every destination; the delegate is told which
    /// ones differ, which the answer is not about. In the end the destinations have the source's
    /// dates. False when the copy was not made whole, which a log tells, or was cancelled; what
    /// was written stays, and after a failure the streams stay open. The source itself as a
    /// destination is a failure that leaves it whole.
    ///
    /// The delegate and the objects reach the delegate's operations in the settings, and are kept
    /// alive as long as one of these may be called.
    static bool copyFileWithProgress(const MaybePath& source, const std::vector<Path>& destinations,
                                     VerificationType verificationType,
                                     const std::shared_ptr<const FileCopyDelegate>& delegate = {},
                                     std::any object = {}, std::any object2 = {});
    /// `copyFileWithProgress:destination:delegate:object:`, `…object:object:`: the same to one
    /// destination, without verification.
    static bool copyFileWithProgress(const MaybePath& source, const MaybePath& destination,
                                     const std::shared_ptr<const FileCopyDelegate>& delegate = {},
                                     std::any object = {}, std::any object2 = {});

    // Presentation: labels, progress, and what the desktop knows of items

    /// A colour in the calibrated colour space; every component from 0 to 1.
    struct Color {
        double hue = 0;
        double saturation = 0;
        double brightness = 0;
        double alpha = 1;
        bool operator==(const Color&) const = default;
    };

    /// `notifyFileSystemChanged:`: tells the file manager that a folder's contents or a file
    /// changed. Waits for nobody.
    static void notifyFileSystemChanged(const MaybePath& path);
    /// `stringToFSRef:`: refers to the item itself; to nothing where there is none.
    static platform::FileReference stringToFSRef(const MaybePath& path);
    /// `stringWithFSRef:`: where the item is now; null when it cannot be found.
    static MaybePath stringWithFSRef(const platform::FileReference* reference);
    /// `setFinderProgress:forFile:`: has the file manager show a progress bar on the file's icon, 0
    /// to 1; a negative fraction or none (NaN) takes it away. Marked are an extended attribute and
    /// the creation date, which goes back to the modification date. Failures are silent.
    static void setFinderProgress(float fraction, const MaybePath& file);
    /// `removeFinderProgressForFile:`: sets a progress of -1.
    static void removeFinderProgressForFile(const MaybePath& file);
    /// `registerApplicationWithLaunchServices:`: lets the desktop know an application bundle, or
    /// what became of it, so that it offers it and finds it by its identifier.
    static bool registerApplicationWithLaunchServices(const MaybePath& bundle);
    /// `finderColorIndexForPath:`: the item's label, 1 to 7, or 0 for none.
    static int finderColorIndexForPath(const MaybePath& path);
    /// `setFinderColorIndex:forPath:`: 0 takes the label away. Failures are silent.
    static void setFinderColorIndex(int label, const MaybePath& path);
    /// `finderColorForColorIndex:`: the label's colour; null for what is no label.
    static std::optional<Color> finderColorForColorIndex(int label);
    /// `finderColorForPath:`: the colour of the item's label.
    static std::optional<Color> finderColorForPath(const MaybePath& path);
};

/// `SendFinderSyncEvent`: tells the file manager that the item changed, without waiting for it: 0,
/// or the platform's error number.
std::int32_t SendFinderSyncEvent(const platform::FileReference* reference);

} // namespace quorvane
