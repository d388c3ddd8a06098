"""An uninstall that is killed loses nothing, leaves no process behind, and a second one completes it.

Runs as a world's superuser. Usage: kill_test.py UNINSTALL AGENT, where UNINSTALL is the uninstall
without windows and AGENT the desktop agent.
"""

import os
import subprocess
import sys
import time
import unittest

import asking
import facts
import sample_installation
import trash
from administration import Administration
from outcome import Outcome, world
from session import NOTES, UID, as_user, begin_notes

# After how many items in the Trash it is killed: among those of the user, of the superuser, and
# where one kind follows the other.
MOMENTS = (1, 2, 7, 26, 30, 37, 48, 49, 60, 76, 97, 98, 110, 119, 122, 130)
PATIENCE = 60
PASSWORD = os.environ.get("WORLD_ADMINISTRATOR_PASSWORD")


def processes():
    """The numbers and command lines of all that run here."""
    found = {}
    for number in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{number}/cmdline", "rb") as file:
                line = file.read()
        except OSError:
            continue
        if line:  # one that has ended and awaits its burial has none
            found[int(number)] = line
    return found


class KillTest(unittest.TestCase):
    def setUp(self):
        sample_installation.clear()
        for note in (asking.NOTE, NOTES + "/asked"):
            if os.path.exists(note):
                os.unlink(note)
        self.items = sample_installation.install(UID, 0)
        self.before = world()
        self.others = processes()

    def start(self, *answer):
        return subprocess.Popen(as_user(asking.asked(AGENT, UNINSTALL, *answer)), cwd="/",
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def wait(self, what, question):
        deadline = time.monotonic() + PATIENCE
        while not question():
            self.assertLess(time.monotonic(), deadline, what())
            time.sleep(0.0005)

    def kill_when(self, process, moment):
        """Kills it at a moment; answers whether it was still at work."""
        self.wait(lambda: "the moment", lambda: moment() or process.poll() is not None)
        process.kill()
        return process.wait(PATIENCE) == -9

    def check_that_all_ends(self):
        def left():
            return {number: line for number, line in processes().items()
                    if number not in self.others}
        self.wait(lambda: f"left behind: {left()}", lambda: not left())

    def check_that_nothing_is_lost(self):
        self.assertLessEqual(len(trash.drop_infos_without_item()), 1)
        after, trashed = world(), trash.contents()
        for item in self.items:
            whole = facts.below(item.path, self.before)
            places = [item.path, trashed.get(item.path, "")]
            found = [place for place in places if place and facts.below(place, after) == whole]
            self.assertEqual(len(found), 1, f"{item.path!a} stands in {len(found)} places")

    def check_that_a_second_run_completes_it(self):
        self.assertEqual(self.start("--password", PASSWORD).wait(PATIENCE), 0)
        outcome = Outcome(self.items, self.before, {"shared", "config"})
        self.assertTrue(outcome.holds(), outcome.problems + outcome.touched)
        self.check_that_all_ends()

    def check(self):
        self.check_that_all_ends()
        self.check_that_nothing_is_lost()
        self.check_that_a_second_run_completes_it()

    def test_killed_between_items(self):
        killed = []
        for number in MOMENTS:
            with self.subTest(items=number):
                self.setUp()
                many = len(os.listdir(trash.FILES)) + number
                process = self.start("--password", PASSWORD)
                killed.append(self.kill_when(process,
                                             lambda: len(os.listdir(trash.FILES)) >= many))
                self.check()
        self.assertGreater(killed.count(True), len(MOMENTS) // 2)

    def test_killed_while_the_password_is_asked_for(self):
        process = self.start("--hold")
        self.assertTrue(self.kill_when(process, lambda: asking.answers() == ["asked"]))
        self.check()


def main():
    if not PASSWORD:
        return 77
    begin_notes()
    with Administration():
        return 0 if unittest.main(argv=sys.argv[:1], exit=False).result.wasSuccessful() else 1


if __name__ == "__main__":
    UNINSTALL, AGENT = sys.argv[1:3]
    sys.exit(main())
