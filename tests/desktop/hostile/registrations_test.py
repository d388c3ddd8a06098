"""A user's own entry says where an application is; it gets nobody's bundle moved with rights."""

import os

import hostile_world as world
from things import COLLEAGUE, COLLEAGUES_HOME, HOME, UID, bundle, file, folder, link, \
    registered
import catalogue

SWITCHBOARD = catalogue.SHARED_IDENTIFIERS[0]
NAME = "Quorvane Switchboard.app"
COLLEAGUES = f"{COLLEAGUES_HOME}/Applications/{NAME}"
STRANGER = 4242


class Registrations(world.WithAdministration):
    """With nothing else on the machine that needs rights."""

    def setUp(self):
        super().setUp()
        os.unlink(self.machines)

    def check(self, path, *spellings):
        """Whichever way the entry names it, it stays, and nobody is asked for a password."""
        for spelling in spellings or (path,):
            with self.subTest(spelling):
                registered(spelling, SWITCHBOARD)
                file(self.mine)
                self.uninstall(*world.GRANTING)
                self.assert_trashed(self.mine)
                self.assert_kept(path)
                self.assert_asked(0)

    def test_another_users_bundle(self):
        bundle(COLLEAGUES, identifier=SWITCHBOARD)
        link(HOME + "/Shared", COLLEAGUES_HOME + "/Applications")
        self.check(COLLEAGUES, COLLEAGUES, COLLEAGUES + "/", f"{HOME}/Shared/{NAME}",
                   f"/Applications/../Users/carl/Applications/{NAME}",
                   f"/Applications/./../Users/carl/Applications/{NAME}",
                   f"{HOME}/../carl/Applications/{NAME}", COLLEAGUES.replace("/", "//"),
                   f"/proc/self/root{COLLEAGUES}")

    def test_link_to_another_users_bundle_is_the_users_own_to_move(self):
        bundle(COLLEAGUES, identifier=SWITCHBOARD)
        registered(link(f"{HOME}/{NAME}", COLLEAGUES), SWITCHBOARD)
        self.uninstall(*world.GRANTING)
        self.assert_kept(COLLEAGUES)
        self.assert_asked(0)

    def test_bundle_of_the_superusers_elsewhere(self):
        self.check(bundle(f"/opt/{NAME}", identifier=SWITCHBOARD))

    def test_bundle_of_the_superusers_in_the_users_own_folder(self):
        path = bundle(f"{HOME}/Tools/{NAME}", 0, SWITCHBOARD)
        self.check(path)

    def test_bundle_of_the_superusers_that_the_look_up_finds_by_itself(self):
        path = bundle(f"{HOME}/Applications/{NAME}", 0, SWITCHBOARD)
        self.uninstall(*world.GRANTING)
        self.assert_kept(path)
        self.assert_asked(0)

    def test_hostile_volume(self):
        for owner in (0, COLLEAGUE, STRANGER):
            with self.subTest(owner=owner):
                self.setUp()
                volume = self.mount("/Volumes/Stick", "-t", "tmpfs", "-o", "nosuid,nodev", "stick")
                os.chmod(volume, 0o755)
                os.chown(volume, owner, owner)
                self.check(bundle(f"{volume}/{NAME}", owner, SWITCHBOARD))

    def test_shared_folder_for_all(self):
        """Where others may write, but not take away what is somebody else's."""
        os.chmod(folder("/Users/Shared"), 0o1777)
        self.check(bundle(f"/Users/Shared/{NAME}", COLLEAGUE, SWITCHBOARD))

    def test_applications_folder_leads_to_another_user(self):
        bundle(COLLEAGUES, identifier=SWITCHBOARD)
        link("/Applications/Tools", COLLEAGUES_HOME + "/Applications")
        self.check(COLLEAGUES, f"/Applications/Tools/{NAME}")

    def test_another_application_below_the_applications_folder(self):
        """Named by the entry, but it is not the one that is looked for."""
        self.check(bundle("/Applications/Other Vendor/Editor.app", identifier="com.example.Editor"))

    def test_folder_that_is_no_application(self):
        path = file("/Applications/Other Vendor/licence.dat")
        self.check(os.path.dirname(path), os.path.dirname(path), "/Applications/Other Vendor/",
                   path)

    def test_entry_that_makes_no_sense(self):
        path = bundle(COLLEAGUES, identifier=SWITCHBOARD)
        self.check(path, "", "/", ".", "..", "Quorvane Switchboard.app", "~carl", "x" * 5000,
                   "../carl/Applications/" + NAME, "/Users/carl\0/x")

    def test_entry_that_is_no_file(self):
        entry = f"{HOME}/.local/share/applications/{SWITCHBOARD}.desktop"
        def loop(path):
            link(path, path)
        for make in (os.mkfifo, folder, loop):
            with self.subTest(make.__name__):
                self.setUp()
                make(entry)
                self.uninstall(*world.GRANTING, patience=20)
                self.assert_trashed(self.mine)
                self.assert_asked(0)

    def test_users_own_bundle_goes_without_a_question(self):
        path = bundle(f"{HOME}/Tools/{NAME}", UID, SWITCHBOARD)
        registered(path, SWITCHBOARD)
        self.uninstall(*world.GRANTING)
        self.assert_trashed(path, self.mine)
        self.assert_asked(0)

    def test_bundle_in_the_applications_folder_goes_with_one(self):
        for entry in (True, False):
            with self.subTest(entry=entry):
                self.setUp()
                path = bundle(f"/Applications/Tools/{NAME}", identifier=SWITCHBOARD)
                if entry:
                    registered(path, SWITCHBOARD)
                self.uninstall(*world.GRANTING)
                self.assert_trashed(path)
                self.assert_asked(1)

    def test_suites_own_bundle_goes_beside_a_misleading_entry(self):
        bundle(COLLEAGUES, identifier=SWITCHBOARD)
        registered(COLLEAGUES, SWITCHBOARD)
        path = bundle("/Applications/" + NAME, identifier=SWITCHBOARD)
        self.uninstall(*world.GRANTING)
        self.assert_trashed(path)
        self.assert_kept(COLLEAGUES)
        self.assert_asked(1)


if __name__ == "__main__":
    world.main()
