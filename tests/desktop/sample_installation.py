"""A full installation of the suite, and around it the belongings of others that must survive."""

import os
import shutil
import urllib.parse
from dataclasses import dataclass

import catalogue
import material

HOME = "/Users/" + os.environ.get("WORLD_USER", "anna")
TRASH = HOME + "/.local/share/Trash"
SUPPORT = tuple(f"{home}/{catalogue.SUPPORT_FOLDER}" for home in (HOME, ""))
SLEEPER = "/usr/bin/sleep"

# Tools that run while the uninstaller comes, and programs of other names that go on running.
RUNNING = {
    f"{HOME}/Applications/Media Tools/Quorvane Switchboard.app": True,
    "/Applications/Quorvane/Brightkeel/Snapshot Keeper.app": True,
    "/Applications/Quorvane/Brightkeel/Tidyhand.app": True,
    "/Applications/Quorvane/Brightkeel/Machine Workbench.app": True,
    "/Applications/Quorvane/Job Planner.app": True,
    "/Applications/Quorvane/Brightkeel/Document Rescue.app": False,
    "/Applications/Snapshot Keeper Pro.app": False,
}


@dataclass(frozen=True)
class Item:
    """One thing that the suite installed, and the options without which it stays."""
    path: str
    kind: str
    needs: frozenset = frozenset()

    @property
    def machine_wide(self):
        return not self.path.startswith(HOME + "/")


SHARED, CONFIG = frozenset({"shared"}), frozenset({"config"})


def _identifier(path):
    return "com.quorvane." + os.path.basename(path).removesuffix(".app").replace(" ", "")


def _bundle(path, identifier=None):
    executable = SLEEPER if path in RUNNING else None
    return material.bundle(path, identifier or _identifier(path), executable)


def _applications():
    for name in catalogue.APPLICATIONS:
        yield Item(_bundle("/Applications/" + name), "applications")
    # The first is known by its identifier only, far from where the suite put it; the second by
    # both; the third stands where the suite put it, under an identifier from before.
    place = f"{HOME}/Applications/Media Tools/Quorvane Switchboard.app"
    yield Item(_bundle(place, catalogue.SHARED_IDENTIFIERS[0]), "shared applications", SHARED)
    identifiers = ("com.quorvane.switchboard.classic", catalogue.SHARED_IDENTIFIERS[1],
                   "com.quorvane.JobPlanner.classic")
    for name, identifier in zip(catalogue.SHARED_APPLICATIONS, identifiers):
        yield Item(_bundle("/Applications/" + name, identifier), "shared applications", SHARED)


def _support():
    user, machine = SUPPORT
    kind = "support files"
    yield Item(_bundle(user + "/Settings Keeper.app"), kind)
    for name in material.AWKWARD_NAMES:
        yield Item(material.file(f"{user}/{name}"), kind)
    yield Item(material.awkward_folder(user + "/Recovered Media"), kind)
    os.mkfifo(user + "/commands.pipe")
    yield Item(user + "/commands.pipe", kind)
    os.symlink("../../../../Documents", user + "/Link to Documents")
    yield Item(user + "/Link to Documents", kind)
    yield Item(material.awkward_folder(machine + "/Engine"), kind)
    yield Item(material.file(machine + "/licence.dat"), kind)
    os.mkdir(machine + "/empty")
    yield Item(machine + "/empty", kind)
    shared = os.path.dirname(user) + "/Shared Resources"
    yield Item(material.awkward_folder(shared), "shared resources", SHARED)


def _caches():
    for name in catalogue.CACHE_FOLDERS:
        folder = f"{HOME}/Library/Caches/{name}"
        material.file(folder + "/Cache.db", material.text(folder, 5000))
        yield Item(folder, "caches")
    for name in catalogue.CACHE_FILES:
        yield Item(material.preferences(f"{HOME}/Library/Caches/{name}"), "caches")
    for name in catalogue.SHARED_IDENTIFIERS:
        folder = f"{HOME}/Library/Caches/{name}"
        material.file(folder + "/fsCachedData/1")
        yield Item(folder, "caches", SHARED)


def _preferences():
    for home in (HOME, ""):
        for name in catalogue.PREFERENCES:
            yield Item(material.preferences(f"{home}/Library/Preferences/{name}"), "preferences",
                       CONFIG)
        for name in catalogue.SHARED_PREFERENCES:
            yield Item(material.preferences(f"{home}/Library/Preferences/{name}"), "preferences",
                       CONFIG | SHARED)


def _jobs():
    for name in catalogue.LAUNCH_AGENTS:
        yield Item(material.preferences(f"{HOME}/Library/{name}"), "launch agents")
    for name in ("com.quorvane.ScheduledTask.7.PLIST", "com.quorvane.ScheduledTask1.plist",
                 "COM.QUORVANE.scheduledtask nightly.plist"):
        yield Item(material.preferences(f"{HOME}/Library/LaunchAgents/{name}"), "scheduled tasks",
                   SHARED)
    for name in ("com.quorvane.RootScheduledTask.1.plist", "com.quorvane.rootscheduledtask2.Plist"):
        path = "/Library/LaunchDaemons/" + name
        yield Item(material.preferences(path), "scheduled tasks", SHARED)


def _receipts():
    for name in ("Brightkeel.pkg", "brightkeel 3.1.pkg", "Install Brightkeel 4.pkg"):
        material.file(f"/Library/Receipts/{name}/Contents/Archive.bom")
        yield Item("/Library/Receipts/" + name, "receipts")
    for path in catalogue.PACKAGE_RECEIPTS:
        yield Item(material.file(path), "receipts")


def _strangers():
    """Things that look like the suite's, or lie beside them, or are simply the user's own."""
    _bundle("/Applications/Snapshot Keeper Pro.app", "com.quorvane.SnapshotKeeperPro")
    _bundle("/Applications/Other Vendor/Editor.app", "com.example.Editor")
    # The only application with this identifier, but nothing in a Release folder is touched.
    _bundle("/Applications/Release/Job Planner.app", catalogue.SHARED_IDENTIFIERS[2])
    _bundle(HOME + "/build/Release/Snapshot Keeper.app")
    user, machine = SUPPORT
    material.file(user + "/Old (Disabled)/rules.dat")
    for path in (
        user + "/tool dIsAbLeD for now.plist", user + "/.settings", user + "/.DS_Store",
        os.path.dirname(user) + "/Brightkeel Extra/data", os.path.dirname(machine) + "/notes",
        os.path.dirname(machine) + "/Shared Resources/kept with the machine.dat",
        "/Library/Application Support/Other Vendor/licence",
        HOME + "/Library/Caches/com.quorvane.SnapshotKeeperX/Cache.db",
        HOME + "/Library/Caches/com.example.Editor/Cache.db",
        HOME + "/Library/Caches/com.quorvane.FaultLens.cache.plist.old",
        HOME + "/Library/LaunchAgents/com.quorvane.ScheduledTask7.plist.bak",
        HOME + "/Library/LaunchAgents/com.quorvane.RootScheduledTask.1.plist",
        HOME + "/Library/LaunchAgents/com.quorvane.ComboKeeper.plist.save",
        "/Library/LaunchAgents/com.quorvane.ScheduledTask1.plist",
        "/Library/LaunchDaemons/com.quorvane.ScheduledTask9.plist",
        "/Library/LaunchDaemons/com.quorvane.RootScheduledTask.1.plist.disabled",
        "/Library/Receipts/Other Brightkeel.pkg", "/Library/Receipts/Editor.pkg",
        "/private/var/db/receipts/com.quorvane.BrightkeelSuite.Halyard.bom.old",
        "/private/var/db/receipts/com.example.pkg.Editor.bom",
        HOME + "/Documents/Ünfinished – film.txt", HOME + "/Desktop/Snapshot Keeper.app.zip",
        HOME + "/Movies/take 1.mov", HOME + "/.profile",
    ):
        material.file(path)
    for home in (HOME, ""):
        for name in ("com.quorvane.global", "com.quorvane.SnapshotKeeperX", "com.example.Editor"):
            material.preferences(f"{home}/Library/Preferences/{name}.plist")
    os.symlink("gone", user + "/dangling")


def _finder_litter():
    """Files that do not keep a folder from counting as empty: they go with it."""
    for folder in (SUPPORT[1],) + catalogue.APPLICATION_FOLDERS:
        material.file(folder + "/.DS_Store")


def _earlier_trash():
    """What an uninstall left there before: every name is needed again, some of them by several
    machine-wide items within a second."""
    names = {os.path.basename(path) for path in catalogue.APPLICATIONS}
    for name in names:
        _bundle(f"{TRASH}/files/{name}")
    names |= {"com.quorvane.FaultLens.plist"}
    for name in names:
        path = urllib.parse.quote(f"{HOME}/old/{name}").encode()
        material.file(f"{TRASH}/info/{name}.trashinfo",
                      b"[Trash Info]\nPath=" + path + b"\nDeletionDate=2015-03-04T05:06:07\n")
    material.file(TRASH + "/files/com.quorvane.FaultLens.plist")
    material.file(TRASH + "/files/com.quorvane.Refresher.plist")  # not written down


def clear():
    """Takes everything away again, from the Trash too."""
    for folder in ("/Applications", "/Library", HOME, "/private/var/db/receipts"):
        for name in os.listdir(folder):
            path = f"{folder}/{name}"
            shutil.rmtree(path) if _is_folder(path) else os.unlink(path)


def _is_folder(path):
    return os.path.isdir(path) and not os.path.islink(path)


def install(user, machine_owner):
    """Installs everything in this world; answers what the suite installed. The machine-wide half
    belongs to `machine_owner`."""
    items = []
    for part in (_applications, _support, _caches, _preferences, _jobs, _receipts):
        items += part()
    _strangers()
    _finder_litter()
    _earlier_trash()
    for folder in ("/Applications", "/Library", "/private"):
        material.finish(folder, machine_owner)
    material.finish(HOME, user)
    return items
