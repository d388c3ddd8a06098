"""The same through the windows, as people see them: what is locked stays, one question is asked."""

import os
import sys

import hostile_world as world
from things import APPLICATIONS, MACHINES_SUPPORT, USERS_SUPPORT, bundle, file
import asking
import catalogue
from session import VirtualDisplay


class Windows(world.WithAdministration):
    def work(self, *answer):
        """Presses Uninstall with no option ticked, to the alert at the end."""
        command = asking.asked(self.agent, self.program, *answer)
        with VirtualDisplay() as display:
            self.account_for(lambda: display.work(command, [], patience=world.PATIENCE))

    def test_locked_applications_folder(self):
        for name in catalogue.APPLICATIONS:
            bundle("/Applications/" + name)
        for name in ("Old (Disabled)/rules.dat", ".settings", "licence.dat"):
            file(f"{MACHINES_SUPPORT}/{name}")
        for place in (APPLICATIONS, MACHINES_SUPPORT):
            os.chmod(place, 0o700)
        self.work(*world.GRANTING)
        self.assert_went_through()
        self.assert_kept(MACHINES_SUPPORT + "/.settings")

    def test_wrong_password(self):
        machines = [bundle("/Applications/" + name) for name in catalogue.APPLICATIONS[:6]]
        users = file(USERS_SUPPORT + "/presets.dat")
        self.work("--password", "wrong")
        self.assert_asked(1)
        self.assert_kept(self.machines, *machines)
        self.assert_trashed(self.mine, users)


if __name__ == "__main__":
    Windows.program = sys.argv.pop(3)
    world.main()
