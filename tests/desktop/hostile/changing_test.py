"""Folders that are empty when they are looked at, and fill up before they are removed."""

import multiprocessing
import os
import subprocess
import sys

import hostile_world as world
from accounting import look
from session import as_user
from things import APPLICATIONS, SUITE, UID, USERS_SUPPORT, device, file, folder
from watching import Watch

SAVED = "/Library/Saved"
ROUNDS = 6
PLACES = (SUITE, APPLICATIONS, SUITE + "/one/two", USERS_SUPPORT)


def appear(*paths):
    """Makes films; returns the paths of those that were whole for a moment at least."""
    made = []
    for path in paths:
        try:
            folder(os.path.dirname(path))
            with open(path, "xb") as film:
                film.write(b"film")
            made.append(path)
        except FileNotFoundError:
            pass  # the folder went first
    return made


class FillingUp(world.WithAdministration):
    """Whatever appears at whichever moment is there afterwards."""

    def check(self, place, make, at_most=12):
        """Runs it again and again: things are made when the folder is opened for the first time in
        one run, from the second time on in the next, until it is not opened as often."""
        for moment in range(1, at_most):
            with self.subTest(place, moment=moment):
                self.setUp()
                made = []
                watch = Watch(folder(place), lambda number: number < moment
                              or made.extend(make(f"{place}/{number}")))
                with watch:
                    self.uninstall(*world.GRANTING, but=(place,))
                lost = [path for path in made if not self.is_somewhere(path)]
                self.assertFalse(lost[:3], "appeared meanwhile, and is nowhere now")
                self.assert_went_through()
            if not made:
                break
        self.assertGreater(moment, 1, "the folder was never opened")

    def is_somewhere(self, path):
        return os.path.lexists(path) or any(
            path.startswith(original) and os.path.lexists(place + path[len(original):])
            for original, place in self.outcome.moved)

    def test_with_files_and_folders(self):
        def make(path):
            hidden = f"{os.path.dirname(path)}/.{os.path.basename(path)}"
            return appear(path + ".mov", hidden, path + "/clips/film", path + "/.DS_Store/film")
        for place in PLACES:
            self.check(place, make)

    def test_with_a_volume(self):
        def make(path):
            self.mount(path, "-t", "tmpfs", "volume")
            return appear(path + "/film.mov")
        self.check(SUITE, make)


def save_all_the_time(place, owner, counter, stop):
    """Like a program that writes beside and moves into place when it is done."""
    os.setgid(owner)
    os.setuid(owner)
    while not stop.is_set():
        name = f"take {owner} {counter.value}.mov"
        try:
            with open(f"{place}/{name}", "xb") as stream:
                stream.write(b"film")
        except FileNotFoundError:
            os.makedirs(place, exist_ok=True)
            continue
        counter.value += 1
        try:
            os.rename(f"{place}/{name}", f"{SAVED}/{name}")
        except FileNotFoundError:
            pass  # somebody else has moved it


class Busy(world.WithAdministration):
    """Programs work in the folders during the whole run."""

    def test_files_come_and_go(self):
        for number in range(ROUNDS):
            with self.subTest(round=number):
                self.setUp()
                os.chmod(folder(SAVED), 0o777)
                self.check((USERS_SUPPORT, UID), (SUITE, 0))

    def check(self, *workplaces):
        stop = multiprocessing.Event()
        counters = [multiprocessing.Value("L") for _ in workplaces]
        workers = [multiprocessing.Process(target=save_all_the_time, args=(*workplace, counter, stop))
                   for workplace, counter in zip(workplaces, counters)]
        try:
            for (place, _), worker in zip(workplaces, workers):
                folder(place)
                worker.start()
            for counter in counters:
                world.wait_until(lambda: counter.value > 20, "not at work")
            self.uninstall(*world.GRANTING, but=(SAVED, *(place for place, _ in workplaces)))
        finally:
            stop.set()
            for worker in workers:
                worker.join()
        self.assert_went_through()
        taken = {os.path.basename(path) for path in look(()) if "/take " in path}
        made = {f"take {owner} {number}.mov" for (_, owner), counter in zip(workplaces, counters)
                for number in range(counter.value)}
        self.assertFalse(sorted(made - taken)[:3], "written, and nowhere now")


class HalfListed(world.WithAdministration):
    """A volume, as of a network, whose listings break off for everybody but the superuser."""

    def test_listing_that_breaks_off(self):
        backing = folder("/Volumes/backing")
        for name in (".DS_Store", "film.mov", "empty/.DS_Store", "empty/Icon\r", "empty/film.mov"):
            file(f"{backing}/Quorvane/Brightkeel/{name}")
        device("/dev/fuse", 10, 229)
        self.serve(self.half_listed_volume, backing, "/Applications")
        shown = subprocess.run(as_user(["ls", "-A", SUITE]), capture_output=True, text=True,
                               check=False)
        self.assertEqual((shown.stdout, shown.returncode), (".DS_Store\nempty\n", 2), "the volume")
        self.uninstall(*world.GRANTING)
        self.assert_kept(SUITE + "/film.mov", SUITE + "/empty/film.mov")
        self.assert_went_through()

    def serve(self, *command):
        """Runs the volume's server until the test ends."""
        place = command[-1]
        server = subprocess.Popen(command)
        self.addCleanup(server.wait)
        self.addCleanup(server.kill)
        world.wait_until(lambda: os.path.ismount(place) or server.poll() is not None, "not mounted")
        if server.poll() is not None:
            self.skipTest("this machine mounts no such volumes")
        self.addCleanup(subprocess.run, ["umount", "--lazy", place], check=True)
        self.volumes.append(place)


if __name__ == "__main__":
    HalfListed.half_listed_volume = sys.argv.pop(3)
    world.main()
