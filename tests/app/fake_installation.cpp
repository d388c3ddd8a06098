#include "tests/app/fake_installation.h"

#include "app/Catalogue.h"
#include "kit/base/components.h"

namespace brightkeel::testing {
namespace {

using quorvane::joinPath;
using quorvane::Path;
using Names = std::span<const std::string_view>;

constexpr const char* kUserLibrary = "/Users/anna/Library";
constexpr const char* kLocalLibrary = "/Library";

void addFiles(quorvane::testing::FakeDisk& disk, const Path& folder, Names names) {
    for (const std::string_view name : names) disk.addFile(joinPath(folder, name), "x");
}

void addBundles(quorvane::testing::FakeDisk& disk, Names names) {
    for (const std::string_view name : names)
        disk.addFile(joinPath(joinPath("/Applications", name), "Contents/Info.plist"), "x");
}

void addScannedFolders(quorvane::testing::FakeDisk& disk) {
    for (const Path library : {kUserLibrary, kLocalLibrary})
        disk.addFile(library + "/Application Support/Quorvane/Brightkeel/Settings Keeper.app/x");
    const Path support = joinPath(kUserLibrary, "Application Support/Quorvane/Brightkeel");
    disk.addFile(support + "/Old (Disabled)");
    disk.addFile(support + "/dISABLEDtool");
    disk.addFile(support + "/.DS_Store");
    disk.addFile("/Users/anna/Library/LaunchAgents/com.quorvane.ScheduledTask.7.PLIST");
    disk.addFile("/Users/anna/Library/LaunchAgents/com.quorvane.ScheduledTask7.plist.bak");
    disk.addFile("/Users/anna/Library/LaunchAgents/com.quorvane.RootScheduledTask1.plist");
    disk.addFile("/Library/LaunchDaemons/com.quorvane.RootScheduledTask1.plist");
    disk.addFile("/Library/LaunchDaemons/com.quorvane.ScheduledTask1.plist");
    disk.addFile("/Library/Receipts/Brightkeel 4.pkg");
    disk.addFile("/Library/Receipts/My Brightkeel.pkg");
    disk.addFile("/Library/Receipts/install brightkeel.pkg");
}

} // namespace

void install(quorvane::testing::FakePlatform& system) {
    quorvane::testing::FakeDisk& disk = *system.disk;
    disk.addFile("/usr/bin/killall", "#!");
    disk.setPermissions("/usr/bin/killall", 0755);
    system.processes->script("/usr/bin/killall", {.exitStatus = 1});

    addBundles(disk, catalogue::kApplications);
    addBundles(disk, catalogue::kSharedApplications);
    for (const std::string_view identifier : catalogue::kSharedIdentifiers) {
        const Path bundle = "/Registered/" + std::string(identifier) + ".app";
        disk.addFile(bundle + "/Contents/Info.plist");
        system.workspace->addBundle(std::string(identifier), bundle);
    }
    addScannedFolders(disk);
    disk.addFile("/Users/anna/Library/Application Support/Quorvane/Shared Resources/r");
    addFiles(disk, joinPath(kUserLibrary, "Caches"), catalogue::kCaches);
    addFiles(disk, joinPath(kUserLibrary, "Caches"), catalogue::kSharedIdentifiers);
    for (const Path library : {kUserLibrary, kLocalLibrary}) {
        addFiles(disk, library + "/Preferences", catalogue::kPreferences);
        addFiles(disk, library + "/Preferences", catalogue::kSharedPreferences);
        disk.addFile(library + "/Preferences/com.quorvane.global.plist");
    }
    addFiles(disk, kUserLibrary, catalogue::kLaunchAgents);
    addFiles(disk, "/", catalogue::kReceipts);
}

} // namespace brightkeel::testing
