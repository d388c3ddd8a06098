// Everything that the suite installs, in the order of removal. Fixed data: nothing is asked of the
// disk.
#pragma once

#include <span>
#include <string_view>

namespace brightkeel::catalogue {

/// Names of the tools that are asked to quit, the shared ones included.
extern const std::span<const std::string_view> kToolsToQuit;

/// The maker's shared applications by bundle identifier; also their cache folders' names.
extern const std::span<const std::string_view> kSharedIdentifiers;

/// Application bundles below the machine-wide applications folder: the suite's, then the shared
/// ones. Three tools are named twice, because earlier versions stood at the top level.
extern const std::span<const std::string_view> kApplications;
extern const std::span<const std::string_view> kSharedApplications;

/// Cache folders and files below the user's caches folder.
extern const std::span<const std::string_view> kCaches;

/// Preference files below the preferences folders of the user and of the machine.
extern const std::span<const std::string_view> kPreferences;
extern const std::span<const std::string_view> kSharedPreferences;

/// Launch agents below the user's library.
extern const std::span<const std::string_view> kLaunchAgents;

/// Package receipts, as absolute paths: the whole suite, its four editions, the shared package.
extern const std::span<const std::string_view> kReceipts;

/// A folder whose entries belong to the suite when their names match a predicate.
struct Scan {
    std::string_view folder; ///< below the location that the sequence names
    std::string_view predicate;
};

/// Below the application support folders.
inline constexpr Scan kSupportFolder{
    "Quorvane/Brightkeel", "NOT SELF CONTAINS[c] 'Disabled' AND NOT SELF BEGINSWITH[c] '.'"};
/// Below the user's library.
inline constexpr Scan kScheduledTasks{
    "LaunchAgents",
    "SELF BEGINSWITH[c] 'com.quorvane.ScheduledTask' AND SELF ENDSWITH[c] '.plist'"};
/// Below the machine-wide library.
inline constexpr Scan kRootScheduledTasks{
    "LaunchDaemons",
    "SELF BEGINSWITH[c] 'com.quorvane.RootScheduledTask' AND SELF ENDSWITH[c] '.plist'"};
inline constexpr Scan kOldReceipts{
    "Receipts", "SELF BEGINSWITH[c] 'Brightkeel' OR SELF BEGINSWITH[c] 'Install Brightkeel'"};

/// Below the user's application support folder, trashed whole.
inline constexpr std::string_view kSharedResources = "Quorvane/Shared Resources";

/// Folders below the machine-wide applications folder, removed when they are left empty.
inline constexpr std::string_view kSuiteFolder = "Quorvane/Brightkeel";
inline constexpr std::string_view kMakerFolder = "Quorvane";

} // namespace brightkeel::catalogue
