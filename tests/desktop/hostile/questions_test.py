"""The first answer to the question for a password holds for the whole run, and nobody waits twice."""

import os
import signal

import hostile_world as world
from things import HOME, MACHINES_SUPPORT, USERS_SUPPORT, bundle, file
import asking
import catalogue
from administration import Administration

PAIRS = ((), ("shared",), ("config",), ("shared", "config"))
# One wait for a polkit that hangs takes 5 s; a second one must not come.
PATIENCE = 20


class Suite(world.HostileWorld):
    """A small installation: half of it the user's, half the superuser's."""

    def setUp(self):
        super().setUp()
        self.users = {"": [self.mine], "shared": [], "config": []}
        self.machine = [self.machines]
        for name in catalogue.CACHE_FOLDERS[:4]:
            self.users[""].append(bundle(f"{HOME}/Library/Caches/{name}"))
        self.users[""].append(file(USERS_SUPPORT + "/presets.dat"))
        self.users["shared"].append(file(os.path.dirname(USERS_SUPPORT) + "/Shared Resources/a"))
        self.users["config"].append(file(f"{HOME}/Library/Preferences/{catalogue.PREFERENCES[0]}"))
        for name in catalogue.APPLICATIONS[:8]:
            self.machine.append(bundle("/Applications/" + name))
        self.machine.append(bundle("/Applications/" + catalogue.SHARED_APPLICATIONS[1]))
        self.machine.append(file(MACHINES_SUPPORT + "/Engine/engine.dat"))
        self.machine.append(file("/Library/Preferences/" + catalogue.PREFERENCES[0]))
        self.machine += [file(path) for path in catalogue.PACKAGE_RECEIPTS[:4]]

    def refuse(self, *answer, without=(), asked=1, **how):
        """Everything the user may move is moved, the rest kept whole."""
        self.uninstall(*answer, without=without, patience=PATIENCE, **how)
        self.assert_kept(*self.machine)
        self.assert_asked(asked)
        for option, paths in self.users.items():
            if option in without:
                self.assert_kept(*paths)
            else:
                gone = [path.removesuffix("/a") for path in paths]
                self.assert_trashed(*gone)


class Refused(Suite):
    @classmethod
    def setUpClass(cls):
        cls.administration = Administration()
        cls.addClassCleanup(cls.administration.__exit__)
        cls.administration.__enter__()

    def each_pair(self, *answer):
        for without in PAIRS:
            with self.subTest(without=without):
                self.setUp()
                self.refuse(*answer, without=without)

    def test_cancelled(self):
        self.each_pair("--cancel")

    def test_wrong_password(self):
        self.each_pair("--password", "wrong")

    def test_password_of_somebody_who_is_no_administrator(self):
        self.refuse("--user", "carl", "--password", os.environ["WORLD_COLLEAGUE_PASSWORD"])

    def test_nobody_to_ask(self):
        self.refuse(asked=0)

    def test_granted(self):
        """Else the tests above would prove nothing."""
        for without in PAIRS:
            with self.subTest(without=without):
                self.setUp()
                self.uninstall(*world.GRANTING, without=without)
                self.assert_asked(1)
                self.assert_trashed(*self.users[""], *self.machine[:9], *self.machine[-4:])


class Unreachable(Suite):
    def test_no_bus(self):
        self.refuse(asked=0)

    def test_no_polkit(self):
        with Administration(polkit=""):
            self.refuse(asked=0)

    def test_polkit_that_does_not_answer(self):
        with Administration(polkit="hung"):
            self.refuse(asked=0)

    def test_polkit_that_stops_answering_before_the_question(self):
        with Administration() as administration:
            self.refuse("--hold", asked=0,
                        first=lambda: administration.started[-1].send_signal(signal.SIGSTOP))

    def test_polkit_that_ends_while_it_asks(self):
        def end():
            world.wait_until(lambda: asking.answers() == ["asked"], "not asked")
            administration.started[-1].kill()
        with Administration() as administration:
            self.refuse("--hold", then=end)

    def test_bus_that_ends_while_it_asks(self):
        def end():
            world.wait_until(lambda: asking.answers() == ["asked"], "not asked")
            administration.started[0].kill()
        with Administration() as administration:
            self.refuse("--hold", then=end)


if __name__ == "__main__":
    world.main()
