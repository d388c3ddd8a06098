"""What the suite installs, told a second time: the check of the outcome must not ask the program.

The tables stand in the order in which the uninstaller goes through them.
"""

# The tools that are asked to quit.
TOOLS = (
    "Quorvane Switchboard", "Snapshot Keeper", "Encoder Medic", "Broken Reel Scout", "Fault Lens",
    "Suite Medic", "Quorvane Refresher", "Tidyhand", "Stage Purger", "Cutter Medic",
    "Footage Rescue", "Route Keeper", "Extension Keeper", "Settings Keeper", "Scene Medic",
    "Clipfile Medic", "Swiftmend", "Machine Workbench", "Job Planner", "Markup Medic",
)

# Shared applications by bundle identifier; also the names of their cache folders.
SHARED_IDENTIFIERS = (
    "com.quorvane.switchboard", "com.quorvane.Refresher", "com.quorvane.JobPlanner",
)

# Application bundles below the machine-wide applications folder.
APPLICATIONS = (
    "Quorvane/Brightkeel/Snapshot Keeper.app", "Quorvane/Brightkeel/Encoder Medic.app",
    "Encoder Medic.app", "Quorvane/Brightkeel/Broken Reel Scout.app",
    "Quorvane/Brightkeel/Fault Lens.app", "Quorvane/Brightkeel/Suite Medic.app",
    "Quorvane/Brightkeel/Tidyhand.app", "Brightkeel Hub.app",
    "Quorvane/Brightkeel/Stage Purger.app", "Stage Purger.app",
    "Quorvane/Brightkeel/Document Rescue.app", "Quorvane/Brightkeel/Cutter Medic.app",
    "Quorvane/Brightkeel/Footage Rescue.app", "Quorvane/Brightkeel/Route Keeper.app",
    "Quorvane/Brightkeel/Extension Keeper.app", "Quorvane/Brightkeel/Settings Keeper.app",
    "Settings Keeper.app", "Quorvane/Brightkeel/Scene Medic.app",
    "Quorvane/Brightkeel/Clipfile Medic.app", "Quorvane/Brightkeel/Swiftmend.app",
    "Quorvane/Brightkeel/Machine Workbench.app", "Quorvane/Brightkeel/Markup Medic.app",
)
SHARED_APPLICATIONS = (
    "Quorvane Switchboard.app", "Quorvane/Quorvane Refresher.app", "Quorvane/Job Planner.app",
)

CACHE_FOLDERS = tuple("com.quorvane." + name for name in (
    "IssueCourier", "SnapshotKeeper", "EncoderMedic", "BrokenReelScout", "FaultLens", "SuiteMedic",
    "StageTidyhand", "StagePurger", "DocumentRescue", "CutterMedic", "FootageRescue",
    "RouteKeeper", "ExtensionKeeper", "SettingsKeeper", "SceneMedic", "ClipfileMedic", "Swiftmend",
    "MachineWorkbench", "MarkupMedic",
))
CACHE_FILES = tuple("com.quorvane." + name for name in (
    "FaultLens.cache.plist", "FaultLens.annotations.plist", "RouteKeeper.cache.plist",
    "ClipfileMedic.offsetCache.plist",
))

PREFERENCES = tuple("com.quorvane." + name + ".plist" for name in (
    "SnapshotKeeper", "EncoderMedic", "BrokenReelScout", "FaultLens", "SuiteMedic", "Tidyhand",
    "StagePurger", "DocumentRescue", "CutterMedic", "FootageRescue", "RouteKeeper",
    "ExtensionKeeper", "SettingsKeeper", "SceneMedic", "ClipfileMedic", "Swiftmend",
    "MachineWorkbench", "MarkupMedic",
))
SHARED_PREFERENCES = (
    "com.quorvane.switchboard.plist", "com.quorvane.Refresher.plist",
    "com.quorvane.JobPlanner.plist",
)

LAUNCH_AGENTS = tuple("LaunchAgents/com.quorvane." + name + ".plist" for name in (
    "SnapshotKeeperCleanHelper", "SnapshotKeeperTrashHelper", "FaultLensLogWatcher", "ComboKeeper",
))

PACKAGE_RECEIPTS = tuple(
    "/private/var/db/receipts/com.quorvane." + package + suffix
    for package in (
        "pkg.Brightkeel", "BrightkeelSuite.Halyard", "BrightkeelSuite.Gantry",
        "BrightkeelSuite.Trestle", "BrightkeelSuite.Lattice", "BrightkeelSuite.Shared",
    )
    for suffix in (".bom", ".plist")
)

# Folders that go when nothing is left in them.
SUPPORT_FOLDER = "Library/Application Support/Quorvane/Brightkeel"
APPLICATION_FOLDERS = ("/Applications/Quorvane/Brightkeel", "/Applications/Quorvane")
