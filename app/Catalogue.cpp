#include "app/Catalogue.h"

#include <array>

namespace brightkeel::catalogue {
namespace {

using std::string_view;

constexpr std::array<string_view, 20> toolsToQuit{
    "Quorvane Switchboard", "Snapshot Keeper", "Encoder Medic",
    "Broken Reel Scout",    "Fault Lens",      "Suite Medic",
    "Quorvane Refresher",   "Tidyhand",        "Stage Purger",
    "Cutter Medic",         "Footage Rescue",  "Route Keeper",
    "Extension Keeper",     "Settings Keeper", "Scene Medic",
    "Clipfile Medic",       "Swiftmend",       "Machine Workbench",
    "Job Planner",          "Markup Medic",
};

constexpr std::array<string_view, 3> sharedIdentifiers{
    "com.quorvane.switchboard",
    "com.quorvane.Refresher",
    "com.quorvane.JobPlanner",
};

constexpr std::array<string_view, 22> applications{
    "Quorvane/Brightkeel/Snapshot Keeper.app",
    "Quorvane/Brightkeel/Encoder Medic.app",
    "Encoder Medic.app",
    "Quorvane/Brightkeel/Broken Reel Scout.app",
    "Quorvane/Brightkeel/Fault Lens.app",
    "Quorvane/Brightkeel/Suite Medic.app",
    "Quorvane/Brightkeel/Tidyhand.app",
    "Brightkeel Hub.app",
    "Quorvane/Brightkeel/Stage Purger.app",
    "Stage Purger.app",
    "Quorvane/Brightkeel/Document Rescue.app",
    "Quorvane/Brightkeel/Cutter Medic.app",
    "Quorvane/Brightkeel/Footage Rescue.app",
    "Quorvane/Brightkeel/Route Keeper.app",
    "Quorvane/Brightkeel/Extension Keeper.app",
    "Quorvane/Brightkeel/Settings Keeper.app",
    "Settings Keeper.app",
    "Quorvane/Brightkeel/Scene Medic.app",
    "Quorvane/Brightkeel/Clipfile Medic.app",
    "Quorvane/Brightkeel/Swiftmend.app",
    "Quorvane/Brightkeel/Machine Workbench.app",
    "Quorvane/Brightkeel/Markup Medic.app",
};

constexpr std::array<string_view, 3> sharedApplications{
    "Quorvane Switchboard.app",
    "Quorvane/Quorvane Refresher.app",
    "Quorvane/Job Planner.app",
};

constexpr std::array<string_view, 23> caches{
    "com.quorvane.IssueCourier",
    "com.quorvane.SnapshotKeeper",
    "com.quorvane.EncoderMedic",
    "com.quorvane.BrokenReelScout",
    "com.quorvane.FaultLens",
    "com.quorvane.SuiteMedic",
    "com.quorvane.StageTidyhand",
    "com.quorvane.StagePurger",
    "com.quorvane.DocumentRescue",
    "com.quorvane.CutterMedic",
    "com.quorvane.FootageRescue",
    "com.quorvane.RouteKeeper",
    "com.quorvane.ExtensionKeeper",
    "com.quorvane.SettingsKeeper",
    "com.quorvane.SceneMedic",
    "com.quorvane.ClipfileMedic",
    "com.quorvane.Swiftmend",
    "com.quorvane.MachineWorkbench",
    "com.quorvane.MarkupMedic",
    "com.quorvane.FaultLens.cache.plist",
    "com.quorvane.FaultLens.annotations.plist",
    "com.quorvane.RouteKeeper.cache.plist",
    "com.quorvane.ClipfileMedic.offsetCache.plist",
};

constexpr std::array<string_view, 18> preferences{
    "com.quorvane.SnapshotKeeper.plist",   "com.quorvane.EncoderMedic.plist",
    "com.quorvane.BrokenReelScout.plist",  "com.quorvane.FaultLens.plist",
    "com.quorvane.SuiteMedic.plist",       "com.quorvane.Tidyhand.plist",
    "com.quorvane.StagePurger.plist",      "com.quorvane.DocumentRescue.plist",
    "com.quorvane.CutterMedic.plist",      "com.quorvane.FootageRescue.plist",
    "com.quorvane.RouteKeeper.plist",      "com.quorvane.ExtensionKeeper.plist",
    "com.quorvane.SettingsKeeper.plist",   "com.quorvane.SceneMedic.plist",
    "com.quorvane.ClipfileMedic.plist",    "com.quorvane.Swiftmend.plist",
    "com.quorvane.MachineWorkbench.plist", "com.quorvane.MarkupMedic.plist",
};

constexpr std::array<string_view, 3> sharedPreferences{
    "com.quorvane.switchboard.plist",
    "com.quorvane.Refresher.plist",
    "com.quorvane.JobPlanner.plist",
};

constexpr std::array<string_view, 4> launchAgents{
    "LaunchAgents/com.quorvane.SnapshotKeeperCleanHelper.plist",
    "LaunchAgents/com.quorvane.SnapshotKeeperTrashHelper.plist",
    "LaunchAgents/com.quorvane.FaultLensLogWatcher.plist",
    "LaunchAgents/com.quorvane.ComboKeeper.plist",
};

constexpr std::array<string_view, 12> receipts{
    "/private/var/db/receipts/com.quorvane.pkg.Brightkeel.bom",
    "/private/var/db/receipts/com.quorvane.pkg.Brightkeel.plist",
    "/private/var/db/receipts/com.quorvane.BrightkeelSuite.Halyard.bom",
    "/private/var/db/receipts/com.quorvane.BrightkeelSuite.Halyard.plist",
    "/private/var/db/receipts/com.quorvane.BrightkeelSuite.Gantry.bom",
    "/private/var/db/receipts/com.quorvane.BrightkeelSuite.Gantry.plist",
    "/private/var/db/receipts/com.quorvane.BrightkeelSuite.Trestle.bom",
    "/private/var/db/receipts/com.quorvane.BrightkeelSuite.Trestle.plist",
    "/private/var/db/receipts/com.quorvane.BrightkeelSuite.Lattice.bom",
    "/private/var/db/receipts/com.quorvane.BrightkeelSuite.Lattice.plist",
    "/private/var/db/receipts/com.quorvane.BrightkeelSuite.Shared.bom",
    "/private/var/db/receipts/com.quorvane.BrightkeelSuite.Shared.plist",
};

} // namespace

const std::span<const string_view> kToolsToQuit = toolsToQuit;
const std::span<const string_view> kSharedIdentifiers = sharedIdentifiers;
const std::span<const string_view> kApplications = applications;
const std::span<const string_view> kSharedApplications = sharedApplications;
const std::span<const string_view> kCaches = caches;
const std::span<const string_view> kPreferences = preferences;
const std::span<const string_view> kSharedPreferences = sharedPreferences;
const std::span<const string_view> kLaunchAgents = launchAgents;
const std::span<const string_view> kReceipts = receipts;

} // namespace brightkeel::catalogue
