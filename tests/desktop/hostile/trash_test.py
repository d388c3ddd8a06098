"""What is in a Trash already, wherever that is and however it is reached, stays as it is."""

import os

import hostile_world as world
from things import COLLEAGUE, HOME, MACHINES_SUPPORT, SUITE, TRASH, UID, USERS_SUPPORT, \
    bundle, file, folder, link, registered, thrown_away
import catalogue
import facts
import material

SWITCHBOARD = catalogue.SHARED_IDENTIFIERS[0]
NAME = "Quorvane Switchboard.app"


class InTheTrash(world.WithAdministration):
    def throw_away(self, in_trash=TRASH, owner=UID, original="/Applications/" + NAME):
        """A shared application that the user has thrown away before."""
        path = f"{in_trash}/files/{NAME}"
        thrown_away(bundle(path, identifier=SWITCHBOARD), original, owner, in_trash)
        material.finish(in_trash, owner)
        os.chmod(in_trash, 0o700 if owner == UID else 0o755)
        return path

    def check(self, *paths, **environment):
        """These stay where they are, and nothing becomes of their records."""
        self.uninstall(*world.GRANTING, **environment)
        for path in paths:
            self.assertEqual(facts.below(path, self.after), facts.below(path, self.before),
                             f"{path}: it was in the Trash already")
            self.assert_kept(path.replace("/files/", "/info/") + ".trashinfo")
        self.assert_went_through()

    def test_registered_by_its_real_place(self):
        path = self.throw_away()
        registered(path, SWITCHBOARD)
        self.check(path)

    def test_registered_by_other_spellings(self):
        real = f"{TRASH}/files/{NAME}"
        for spelling in (f"{HOME}/.Trash/{NAME}", f"{HOME}/thrown away/{NAME}", real + "/",
                         f"{HOME}/data/Trash/files/{NAME}", real.replace("/Trash/", "//Trash/./"),
                         f"{TRASH}/info/../files/{NAME}", f"{HOME}/{NAME}/Contents/.."):
            with self.subTest(spelling):
                self.setUp()
                path = self.throw_away()
                link(HOME + "/.Trash", TRASH + "/files")
                link(HOME + "/thrown away", TRASH + "/files")
                link(HOME + "/data", HOME + "/.local/share")
                link(f"{HOME}/{NAME}", path)
                registered(spelling, SWITCHBOARD)
                self.check(path)

    def test_registered_below_an_item(self):
        inner = bundle(f"{TRASH}/files/Old/{NAME}", identifier=SWITCHBOARD)
        thrown_away(os.path.dirname(inner), "/old/Old")
        registered(inner, SWITCHBOARD)
        self.uninstall(*world.GRANTING)
        self.assert_kept(inner + "/Contents/Info.plist")

    def test_data_home_elsewhere(self):
        data = HOME + "/Applications/data"
        for spelling in (data, data + "/", data.replace("/", "//")):
            for entry in (False, True):
                with self.subTest(spelling, entry=entry):
                    self.setUp()
                    path = self.throw_away(data + "/Trash")
                    if entry:
                        os.rename(os.path.dirname(registered(path, SWITCHBOARD)),
                                  data + "/applications")
                    self.check(path, XDG_DATA_HOME=spelling)

    def on_a_volume(self, place, name, owner=UID, sticky=False):
        self.mount(place, "-t", "tmpfs", "-o", "mode=0755", "volume")
        if sticky:
            os.chmod(folder(os.path.dirname(f"{place}/{name}")), 0o1777)
        return self.throw_away(f"{place}/{name}", owner, NAME)

    def test_volumes_own_trash_in_the_applications_folder(self):
        self.check(self.on_a_volume("/Applications", f".Trash-{UID}"))

    def test_administrators_trash_of_a_volume_in_the_applications_folder(self):
        self.check(self.on_a_volume("/Applications", f".Trash/{UID}", sticky=True))

    def test_somebody_elses_trash_in_the_applications_folder(self):
        self.check(self.on_a_volume("/Applications", f".Trash-{COLLEAGUE}", COLLEAGUE))

    def test_superusers_trash_in_the_applications_folder(self):
        self.check(self.on_a_volume("/Applications", ".Trash-0", 0))

    def test_volume_in_the_users_applications_folder(self):
        os.makedirs(HOME + "/Applications")
        self.check(self.on_a_volume(HOME + "/Applications", f".Trash-{UID}"))

    def test_registered_on_a_volume(self):
        for name, owner in ((f".Trash-{UID}", UID), (f".Trash/{UID}", UID),
                            (f".Trash-{COLLEAGUE}", COLLEAGUE)):
            with self.subTest(name):
                self.setUp()
                path = self.on_a_volume("/Volumes/Stick", name, owner, sticky="/" in name)
                registered(path, SWITCHBOARD)
                self.check(path)

    def test_hidden_folders_of_the_applications_folder(self):
        """Where nobody would look for an application."""
        path = bundle(f"/Applications/.hidden/{NAME}", identifier=SWITCHBOARD)
        self.uninstall(*world.GRANTING)
        self.assert_kept(path)
        self.assert_went_through()

    def test_suites_folder_leads_into_the_trash(self):
        path = file(f"{TRASH}/files/Brightkeel/presets.dat")
        thrown_away(os.path.dirname(path), USERS_SUPPORT)
        bundle(f"{TRASH}/files/Tidyhand.app")
        thrown_away(f"{TRASH}/files/Tidyhand.app", SUITE + "/Tidyhand.app")
        link(USERS_SUPPORT, os.path.dirname(path))
        link(MACHINES_SUPPORT, os.path.dirname(path))
        link(SUITE, TRASH + "/files")
        self.uninstall(*world.GRANTING)
        self.assert_kept(path, f"{TRASH}/files/Tidyhand.app/Contents/Info.plist")
        self.assert_went_through()

    def test_other_bundle_beside_it_still_goes(self):
        path = self.on_a_volume("/Applications", f".Trash-{UID}")
        other = bundle(f"/Applications/Tools/{NAME}", identifier=SWITCHBOARD)
        self.check(path)
        self.assert_trashed(other)


if __name__ == "__main__":
    world.main()
