"""A home may be spelled in many ways; it is the same home."""

import os
import subprocess

import hostile_world as world
from things import HOME, MACHINES_SUPPORT, SUITE, UID, USERS_SUPPORT, bundle, file, \
    registered
import catalogue

SPELLINGS = ("/Users/anna/", "/Users//anna", "//Users/anna//", "/Users///anna")
BUNDLE = "/Users/anna.app"
SWITCHBOARD = catalogue.SHARED_IDENTIFIERS[0]


class Homes(world.WithAdministration):
    def each(self, prepare, check):
        for home in SPELLINGS:
            with self.subTest(home):
                self.setUp()
                prepared = prepare()
                self.uninstall(*world.GRANTING, HOME=home)
                check(prepared)
                self.assert_went_through()

    def test_whole_run(self):
        def prepare():
            return [bundle(SUITE + "/Tidyhand.app"), file(USERS_SUPPORT + "/presets.dat"),
                    file(f"{HOME}/Library/Caches/{catalogue.CACHE_FOLDERS[0]}"),
                    file(f"{HOME}/Library/Preferences/{catalogue.PREFERENCES[0]}"),
                    file(f"/Library/Preferences/{catalogue.PREFERENCES[0]}"),
                    file(MACHINES_SUPPORT + "/licence.dat")]
        self.each(prepare, lambda paths: self.assert_trashed(*paths))

    def test_data_home(self):
        for data in ("/Users//anna/.local/share/", "/Users/anna/.local//share//"):
            with self.subTest(data):
                self.setUp()
                self.uninstall(*world.GRANTING, XDG_DATA_HOME=data)
                self.assert_went_through()

    def test_home_is_protected(self):
        """Though it looks like the application that is looked for. Nobody is even asked."""
        for spelling in (BUNDLE, BUNDLE + "/", BUNDLE.replace("/", "//"), BUNDLE + "//"):
            for named in (BUNDLE, BUNDLE + "/"):
                with self.subTest(spelling, named=named):
                    self.setUp()
                    os.unlink(self.machines)
                    bundle(BUNDLE, UID, SWITCHBOARD)
                    self.addCleanup(subprocess.run, ["rm", "-r", BUNDLE], check=True)
                    agent = file(f"{BUNDLE}/Library/{catalogue.LAUNCH_AGENTS[0]}")
                    registered(named, SWITCHBOARD, BUNDLE)
                    self.uninstall(*world.GRANTING, HOME=spelling,
                                   XDG_DATA_HOME=spelling + "/.local/share")
                    self.assert_kept(BUNDLE + "/Contents/Info.plist")
                    self.assert_trashed(agent)
                    self.assert_asked(0)


if __name__ == "__main__":
    world.main()
