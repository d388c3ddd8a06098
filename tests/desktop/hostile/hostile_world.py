"""Uninstalls in a world in which things are not what they seem.

Every script beside this one is run as

    NAME_test.py UNINSTALL AGENT [MORE...]     (as the superuser of a private world)

UNINSTALL is the uninstaller without windows, AGENT the desktop's part in asking for passwords.
"""

import os
import resource
import signal
import subprocess
import sys
import time
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))

import asking
from accounting import Comparison, look, trashes
from administration import Administration
from session import as_user, begin_notes
from things import COLLEAGUE, COLLEAGUES_HOME, HOME, file, folder

PASSWORD = os.environ.get("WORLD_ADMINISTRATOR_PASSWORD", "")
GRANTING = ("--password", PASSWORD)
# What programs may have open at once on ordinary desktops.
DESCRIPTORS = 1024
PATIENCE = 40


def processes():
    """The numbers and command lines of all that run here."""
    found = {}
    for number in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{number}/cmdline", "rb") as stream:
                line = stream.read()
        except OSError:
            continue
        if line:  # one that has ended and awaits its burial has none
            found[int(number)] = line
    return found


def wait_until(question, what, patience=PATIENCE):
    deadline = time.monotonic() + patience
    while not question():
        if time.monotonic() > deadline:
            raise AssertionError(f"{what} within {patience} s")
        time.sleep(0.005)


class HostileWorld(unittest.TestCase):
    """Each test begins with an empty world and ends with everything accounted for."""

    uninstaller = agent = ""
    maxDiff = None

    def setUp(self):
        self.doCleanups()  # where one test tries several worlds
        self.volumes = []
        self._clear()
        folder(COLLEAGUES_HOME, COLLEAGUE)
        folder(HOME + "/.local/share/applications")
        # Two witnesses, outside of all removable folders: that the run came to its end, and that it
        # could move what needs an administrator.
        self.mine = file(HOME + "/Library/LaunchAgents/com.quorvane.ComboKeeper.plist")
        self.machines = file("/private/var/db/receipts/com.quorvane.pkg.Brightkeel.bom")

    def _clear(self):
        for place in ("/Applications", "/Library", "/private/var/db/receipts", "/Volumes", "/opt",
                      COLLEAGUES_HOME):
            subprocess.run(["rm", "-rf", place], check=True)
        for name in os.listdir(HOME):
            subprocess.run(["rm", "-rf", f"{HOME}/{name}"], check=True)
        for place in ("/Applications", "/Library", "/private/var/db/receipts", "/Volumes", "/opt"):
            folder(place, 0)

    def mount(self, place, *arguments):
        """Mounts a volume there until the test ends."""
        folder(place)
        subprocess.run(["mount", *arguments, place], check=True)
        self.addCleanup(subprocess.run, ["umount", "--lazy", place], check=True)
        self.volumes.append(place)
        return place

    def uninstall(self, *answer, without=(), first=None, then=None, superuser=False,
                  patience=PATIENCE, but=(), **environment):
        """Runs the uninstaller and accounts for everything `but` what is in some busy folders.
        `answer` is what the desktop's agent says to whoever asks for a password; without one, there
        is no agent. `first` is called when the agent is there and before the uninstaller starts,
        `then` once it runs."""
        command = [self.uninstaller, *(f"--without-{option}" for option in without)]
        command = ["sh", "-c", 'echo ready; read go; exec "$0" "$@" >/dev/null', *command]
        if answer:
            command = asking.asked(self.agent, command[0], *answer) + command[1:]
        if not superuser:
            command = as_user(command, **environment)
        data = environment.get("XDG_DATA_HOME", HOME + "/.local/share")
        self.account_for(lambda: self._run(command, first, then, patience), but, data)
        self.assertIsNotNone(self.status, f"still at work after {patience} s, with "
                             f"{len(self.questions())} questions asked so far")
        self.assertEqual(self.status, 0, "the uninstaller's exit status")

    def _run(self, command, first, then, patience):
        process = subprocess.Popen(command, cwd="/", stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                   stderr=subprocess.DEVNULL)
        try:
            self.assertEqual(process.stdout.readline(), b"ready\n", "the desktop's agent")
            if first:
                first()
            deadline = time.monotonic() + patience
            process.stdin.write(b"go\n")
            process.stdin.flush()
            if then:
                then()
            process.wait(max(deadline - time.monotonic(), 0.1))
        except subprocess.TimeoutExpired:
            pass
        finally:
            self.status = process.poll()
            process.kill()
            process.wait()
            process.stdin.close()
            process.stdout.close()

    def account_for(self, work, but=(), data=HOME + "/.local/share"):
        """Does the work, and fails unless everything is accounted for when all of it has ended."""
        if os.path.exists(asking.NOTE):
            os.unlink(asking.NOTE)
        self.before = look(self.volumes, but)
        running = processes()
        work()
        wait_until(lambda: processes().keys() <= running.keys(), "not all of the run ended")
        self.after = look(self.volumes, but)
        self.outcome = Comparison(self.before, self.after, list(trashes(data, self.volumes)))
        if self.outcome.problems():
            self.fail("\n".join(self.outcome.problems()))

    @staticmethod
    def questions():
        """How each question for a password ended; one that was held until its end told so before."""
        answers = asking.answers()
        return answers[:answers.count("asked")] if "asked" in answers else answers

    def assert_trashed(self, *paths):
        moved = {original for original, _ in self.outcome.moved}
        left = [path for path in paths if path not in moved or os.path.lexists(path)]
        self.assertFalse(left, "not moved to the Trash, or not on record there")

    def assert_kept(self, *paths):
        left = [path for path in paths if path not in self.after]
        self.assertFalse(left, "no longer in its place")

    def assert_removed(self, *paths):
        self.assertFalse([path for path in paths if os.path.lexists(path)], "still there")

    def assert_went_through(self):
        """It used the rights that it was given, and came to its end."""
        self.assert_trashed(self.mine, self.machines)
        self.assert_asked(1)

    def assert_asked(self, times):
        self.assertEqual(len(self.questions()), times,
                         f"questions for a password: {self.questions()}")


class WithAdministration(HostileWorld):
    @classmethod
    def setUpClass(cls):
        cls.administration = Administration()
        cls.addClassCleanup(cls.administration.__exit__)
        cls.administration.__enter__()


def main():
    # The first process of a world ignores what it does not handle.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    if not PASSWORD:
        print("skipped: this world has no superuser")
        sys.exit(77)
    HostileWorld.uninstaller, HostileWorld.agent = sys.argv[1:3]
    resource.setrlimit(resource.RLIMIT_NOFILE,
                       (DESCRIPTORS, resource.getrlimit(resource.RLIMIT_NOFILE)[1]))
    begin_notes()
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=2)
