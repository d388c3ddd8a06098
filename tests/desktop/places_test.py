"""An uninstall takes nothing with rights that only a registration names, nothing out of a Trash.

Runs as a world's superuser. Usage: places_test.py UNINSTALL AGENT, where UNINSTALL is the uninstall
without windows and AGENT the desktop agent.
"""

import os
import shutil
import subprocess
import sys
import unittest

import asking
import catalogue
import facts
import material
import sample_installation
import trash
from administration import Administration
from outcome import Outcome, world
from sample_installation import HOME, TRASH
from session import UID, USER, as_user, begin_notes

IDENTIFIER = catalogue.SHARED_IDENTIFIERS[1]
NAME = "Quorvane Refresher.app"
DATA = HOME + "/.local/share"
COLLEAGUE, COLLEAGUE_UID = "/Users/carl", UID + 2
STICK = "/media/stick"
PASSWORD = os.environ.get("WORLD_ADMINISTRATOR_PASSWORD")


def give(owner, *paths):
    for path in paths:
        material.finish(path, owner)


class PlacesTest(unittest.TestCase):
    """A world with nothing of the suite, but for what a test puts there."""

    def setUp(self):
        self.addCleanup(self.clear)
        os.makedirs(STICK)
        os.makedirs(COLLEAGUE)
        give(COLLEAGUE_UID, COLLEAGUE)

    def clear(self):
        sample_installation.clear()
        for folder in (COLLEAGUE, STICK, "/run/systemd"):
            shutil.rmtree(folder, ignore_errors=True)
        self.forget_answers()

    @staticmethod
    def forget_answers():
        if os.path.exists(asking.NOTE):
            os.unlink(asking.NOTE)

    def mount(self, place, *command):
        subprocess.run(["mount", *command, place], check=True)
        self.addCleanup(subprocess.run, ["umount", place], check=True)

    def bundle(self, place, owner, identifier=IDENTIFIER):
        """A bundle of the owner's; so are the folders above it that are missing."""
        missing = place
        while not os.path.lexists(os.path.dirname(missing)):
            missing = os.path.dirname(missing)
        material.bundle(place, identifier)
        give(owner, missing)
        return place

    def register(self, bundle, data=DATA):
        entry = f"[Desktop Entry]\nType=Application\nX-Quorvane-Bundle={bundle}\n"
        material.file(f"{data}/applications/{IDENTIFIER}.desktop", entry.encode())
        self.give_home()

    def give_home(self):
        give(UID, HOME)

    def uninstall(self, **environment):
        """Runs the uninstall; returns how often a password was asked for and given."""
        self.forget_answers()
        run = subprocess.run(as_user(asking.asked(AGENT, UNINSTALL, "--password", PASSWORD),
                                     **environment),
                             cwd="/", stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                             stderr=subprocess.DEVNULL, timeout=60, check=False)
        self.assertEqual(run.returncode, 0)
        self.assertLessEqual(set(asking.answers()), {"granted"})
        return len(asking.answers())

    def check_untouched(self, place, questions=0, **environment):
        before = facts.tree(place)
        self.assertEqual(self.uninstall(**environment), questions)
        self.assertTrue(os.path.lexists(place), f"{place} has gone")
        self.assertEqual(facts.tree(place), before)

    def check_trashed(self, place, questions):
        before = facts.below(place, facts.tree(place))
        self.assertEqual(self.uninstall(), questions)
        self.assertFalse(os.path.lexists(place))
        trashed = trash.contents()[place]
        self.assertEqual(facts.below(trashed, facts.tree(trashed)), before)


class FoundApplications(PlacesTest):
    """What a desktop entry of the user's may name, and what becomes of it."""

    def test_another_users_bundle(self):
        bundle = self.bundle(f"{COLLEAGUE}/Applications/{NAME}", COLLEAGUE_UID)
        for path in (bundle, f"/Applications/..{bundle}", f"/{bundle}/",
                     f"/Applications/../{bundle}/."):
            with self.subTest(path):
                self.register(path)
                self.check_untouched(COLLEAGUE)

    def test_another_users_bundle_behind_a_link(self):
        bundle = self.bundle(f"{COLLEAGUE}/Applications/{NAME}", COLLEAGUE_UID)
        os.symlink(os.path.dirname(bundle), "/Applications/Colleague")
        os.symlink(os.path.dirname(bundle), HOME + "/Colleague")
        for folder in "/Applications/Colleague", HOME + "/Colleague":
            with self.subTest(folder):
                self.register(f"{folder}/{NAME}")
                self.check_untouched(COLLEAGUE)

    def test_a_link_to_another_users_bundle(self):
        bundle = self.bundle(f"{COLLEAGUE}/Applications/{NAME}", COLLEAGUE_UID)
        os.makedirs(HOME + "/Applications")
        os.symlink(bundle, f"{HOME}/Applications/{NAME}")
        self.register(f"{HOME}/Applications/{NAME}")
        self.check_untouched(COLLEAGUE)
        self.assertEqual(os.readlink(f"{TRASH}/files/{NAME}"), bundle)

    def test_a_bundle_on_a_volume_that_somebody_brought(self):
        for owner in 0, COLLEAGUE_UID:
            with self.subTest(owner=owner):
                self.mount(STICK, "-t", "tmpfs", "-o", "mode=755,nosuid,nodev", "stick")
                self.register(self.bundle(f"{STICK}/Applications/{NAME}", owner))
                self.check_untouched(STICK)

    def test_a_bundle_in_a_colleagues_part_of_the_applications_folder(self):
        for mode, owner in (0o755, COLLEAGUE_UID), (0o1777, 0), (0o775, 0):
            with self.subTest(oct(mode)):
                folder = f"/Applications/{mode:o}"
                bundle = self.bundle(f"{folder}/{NAME}", owner)
                give(0, bundle)
                os.chmod(folder, mode)
                self.register(bundle)
                self.check_untouched(folder)
                shutil.rmtree(folder)

    def test_what_is_no_such_bundle(self):
        material.file(COLLEAGUE + "/Documents/letter")
        other = self.bundle(f"{COLLEAGUE}/Applications/Other.app", COLLEAGUE_UID,
                            "com.example.Other")
        give(COLLEAGUE_UID, COLLEAGUE)
        for path in (other, COLLEAGUE + "/Documents", COLLEAGUE, "/Library", "/"):
            with self.subTest(path):
                self.register(path)
                self.check_untouched(COLLEAGUE)

    def test_the_superuser_does_not_take_it_either(self):
        bundle = self.bundle(f"{COLLEAGUE}/Applications/{NAME}", COLLEAGUE_UID)
        self.register(bundle)
        material.file("/run/systemd/seats/seat0", b"ACTIVE=c1\n")
        material.file("/run/systemd/sessions/c1", f"CLASS=user\nUSER={USER}\n".encode())
        cache = f"{HOME}/Library/Caches/{catalogue.CACHE_FOLDERS[0]}"
        os.makedirs(cache)
        self.give_home()
        before = facts.tree(COLLEAGUE)
        subprocess.run([UNINSTALL], cwd="/", timeout=60, check=True, env={"HOME": "/root"},
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
        self.assertFalse(os.path.lexists(cache))  # it has worked for the user at the console
        self.assertEqual(facts.tree(COLLEAGUE), before)

    def test_the_users_own_bundle_goes_without_a_question(self):
        bundle = self.bundle(f"{HOME}/Media Tools/{NAME}", UID)
        self.register(f"{HOME}//Media Tools/./{NAME}")
        self.check_trashed(bundle, questions=0)

    def test_the_superusers_bundle_goes_with_rights(self):
        bundle = self.bundle(f"/Applications/Media Tools/{NAME}", 0)
        self.register(bundle)
        self.check_trashed(bundle, questions=1)


class TrashedItems(PlacesTest):
    """What the user threw away before stays in the Trash as it is, with its record."""

    def throw_away(self, files):
        """A bundle in a Trash, with its record."""
        bundle = self.bundle(f"{files}/{NAME}", UID)
        material.file(f"{os.path.dirname(files)}/info/{NAME}.trashinfo",
                      b"[Trash Info]\nPath=/Users/anna/old/Quorvane%20Refresher.app\n"
                      b"DeletionDate=2015-03-04T05:06:07\n")
        give(UID, os.path.dirname(files))
        return bundle

    def test_registered_and_in_the_homes_trash(self):
        bundle = self.throw_away(TRASH + "/files")
        os.symlink(TRASH + "/files", HOME + "/.Trash")
        os.symlink(TRASH + "/files", HOME + "/Thrown away")
        for path in (bundle, f"{HOME}/.Trash/{NAME}", f"{HOME}/Thrown away/{NAME}",
                     f"/{TRASH}//files/./{NAME}",
                     f"{HOME}/Library/../.local/share/Trash/files/{NAME}"):
            with self.subTest(path):
                os.makedirs(HOME + "/Library", exist_ok=True)
                self.register(path)
                self.check_untouched(TRASH)

    def test_registered_and_in_a_trash_that_the_environment_names(self):
        self.throw_away(HOME + "/data/Trash/files")
        self.register(f"{HOME}/data/Trash/files/{NAME}", HOME + "/data")
        self.check_untouched(HOME + "/data/Trash", XDG_DATA_HOME=HOME + "/data/")

    def test_registered_and_in_a_trash_of_a_volume(self):
        for owner in UID, COLLEAGUE_UID:
            for name in f".Trash-{owner}", f".Trash/{owner}":
                with self.subTest(name):
                    self.mount(STICK, "-t", "tmpfs", "-o", "mode=1777", "stick")
                    self.register(self.throw_away(f"{STICK}/{name}/files"))
                    self.check_untouched(STICK)

    def test_in_the_trash_of_a_volume_that_holds_the_users_applications(self):
        os.makedirs(HOME + "/Applications")
        self.mount(HOME + "/Applications", "-t", "tmpfs", "-o", f"mode=755,uid={UID}", "apps")
        self.addCleanup(self.clear_applications)
        self.throw_away(f"{HOME}/Applications/.Trash-{UID}/files")
        self.check_untouched(HOME + "/Applications")

    def clear_applications(self):
        for name in os.listdir(HOME + "/Applications"):
            shutil.rmtree(f"{HOME}/Applications/{name}")

    def test_in_the_catalogues_place_by_a_link_or_a_mount(self):
        name = catalogue.CACHE_FOLDERS[0]
        material.file(f"{TRASH}/files/Caches/{name}/Cache.db")
        material.file(f"{TRASH}/info/Caches.trashinfo",
                      b"[Trash Info]\nPath=/Users/anna/Library/Caches\n"
                      b"DeletionDate=2015-03-04T05:06:07\n")
        caches = HOME + "/Library/Caches"
        os.makedirs(HOME + "/Library")
        os.symlink(TRASH + "/files/Caches", caches)
        self.give_home()
        self.check_untouched(TRASH)
        os.unlink(caches)
        os.mkdir(caches)
        self.mount(caches, "--bind", TRASH + "/files/Caches")
        self.check_untouched(TRASH)


class OddHomes(PlacesTest):
    def test_an_uninstall_is_the_same_whatever_slashes_the_home_has(self):
        for home in HOME + "/", HOME.replace("/", "//"), f"/Users/./{USER}/.":
            with self.subTest(home):
                items = sample_installation.install(UID, UID)
                before = world()
                self.assertEqual(self.uninstall(HOME=home), 0)
                outcome = Outcome(items, before, {"shared", "config"})
                self.assertTrue(outcome.holds(), outcome.problems + outcome.touched)
                sample_installation.clear()


def main():
    if not PASSWORD:
        return 77
    begin_notes()
    with Administration():
        return 0 if unittest.main(argv=sys.argv[:1], exit=False).result.wasSuccessful() else 1


if __name__ == "__main__":
    UNINSTALL, AGENT = sys.argv[1:3]
    sys.exit(main())
