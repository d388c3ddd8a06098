"""An uninstall deletes nothing, whatever rights it is given, and asks for them once.

usage: uninstall_test.py UNINSTALL AGENT TEST_CLASS     (as the superuser of a private world)
where UNINSTALL is the uninstall without windows, with both options on, and AGENT the desktop agent.
"""

import os
import re
import shutil
import signal
import subprocess
import sys
import time
import unittest

from clients import ADMINISTRATOR, HELPER, PASSWORDS, PATIENCE, processes, unmount, wait_until
import asking
import facts
import material
import sample_installation
import trash
from administration import Administration
from outcome import Outcome, world
from session import NOTES, UID, as_user, begin_notes

SUPPORT, APPLICATIONS = sample_installation.SUPPORT[1], "/Applications/Quorvane"
GRANTED = ("--user", ADMINISTRATOR, "--password", PASSWORDS[ADMINISTRATOR])


class Uninstall(unittest.TestCase):
    """On a sample installation whose machine-wide half belongs to the superuser."""

    def setUp(self):
        sample_installation.clear()
        for note in (asking.NOTE, NOTES + "/asked"):
            if os.path.exists(note):
                os.unlink(note)
        self.items = sample_installation.install(UID, 0)

    def tearDown(self):
        wait_until(lambda: not processes(HELPER))

    def start(self, *answer):
        command = asking.asked(AGENT, UNINSTALL, *answer) if answer else [UNINSTALL]
        return subprocess.Popen(as_user(command), cwd="/", stdin=subprocess.DEVNULL,
                                stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)

    def uninstall(self, *answer):
        """What it said on standard error."""
        process = self.start(*answer)
        said = process.communicate(timeout=PATIENCE)[1]
        self.assertEqual(process.returncode, 0)
        return said

    def check_survives(self, *folders):
        """With rights, and byte for byte. Answers what the uninstall said."""
        before = [facts.tree(folder) for folder in folders]
        said = self.uninstall(*GRANTED)
        self.assertEqual(asking.answers(), ["granted"])
        for folder, known in zip(folders, before):
            self.assertEqual(facts.tree(folder), known)
        return said


def closed(path):
    """A folder of the superuser's that nobody else may look into."""
    for name in ("film.mov", "Old (Disabled)/rules.dat", ".hidden", ".DS_Store"):
        material.file(f"{path}/{name}")
    os.chmod(path, 0o700)
    return path


class Folders(Uninstall):
    def test_a_closed_support_folder_survives(self):
        said = self.check_survives(closed(SUPPORT))
        self.assertIn(f"Unable to tell whether the folder {SUPPORT} is empty: Permission denied\n",
                      said)

    def test_closed_folders_deep_inside_survive(self):
        self.check_survives(closed(SUPPORT + "/.deep/down"),
                            closed(sample_installation.SUPPORT[0] + "/.kept"),
                            closed(APPLICATIONS + "/Other Suite"))

    def test_a_closed_applications_folder_survives_with_its_bundles(self):
        os.chmod(APPLICATIONS, 0o700)
        self.check_survives(APPLICATIONS)

    def test_a_file_in_a_folders_place_survives(self):
        shutil.rmtree(SUPPORT)
        material.file(SUPPORT)
        said = self.check_survives(SUPPORT)
        self.assertIn("is empty: Not a directory\n", said)

    def test_what_only_bears_the_name_of_the_desktops_files_survives(self):
        os.unlink(SUPPORT + "/.DS_Store")
        material.file(SUPPORT + "/.DS_Store/film.mov")
        self.check_survives(SUPPORT + "/.DS_Store")

    def test_a_mounted_volume_survives(self):
        place = SUPPORT + "/.volume"
        os.mkdir(place)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=755", "volume", place], check=True)
        self.addCleanup(unmount, place)
        os.mkdir(place + "/empty")
        self.check_survives(place)

    def test_empty_folders_go_with_rights(self):
        os.makedirs(APPLICATIONS + "/nothing/in here")
        self.uninstall(*GRANTED)
        self.assertEqual(asking.answers(), ["granted"])
        for folder in (APPLICATIONS, SUPPORT):
            self.assertFalse(os.path.exists(folder))


class Questions(Uninstall):
    """Every machine-wide item needs rights, and the user is asked for them once."""

    def check_one_question(self, *answer):
        before = world()
        said = self.uninstall(*answer)
        outcome = Outcome(self.items, before, {"shared", "config"}, "no")
        self.assertTrue(outcome.holds(), outcome.problems + outcome.touched)
        kept = [item.path for item, state in outcome.state.items() if state == "kept"]
        told = set(re.findall("^Unable to move (.*) to the Trash: Permission denied; ", said, re.M))
        self.assertGreater(len(kept), 60)
        self.assertEqual(told, set(kept))
        return said

    def test_one_cancel(self):
        said = self.check_one_question("--cancel")
        self.assertEqual(asking.answers(), ["cancelled"])
        self.assertIn("Unable to move /Applications/Brightkeel Hub.app to the Trash: Permission "
                      "denied; the question for administrator rights was cancelled\n", said)

    def test_one_wrong_password(self):
        self.check_one_question("--user", ADMINISTRATOR, "--password", "wrong")
        self.assertEqual(asking.answers(), ["denied"])

    def test_nobody_who_asks(self):
        self.check_one_question()

    def test_a_session_that_breaks_is_not_followed_by_another(self):
        before = world()
        many = len(os.listdir(trash.FILES)) + 7
        process = self.start(*GRANTED)
        wait_until(lambda: len(os.listdir(trash.FILES)) >= many and processes(HELPER))
        for helper in processes(HELPER):
            os.kill(helper, signal.SIGKILL)
        said = process.communicate(timeout=PATIENCE)[1]
        self.assertEqual(process.returncode, 0)
        self.assertEqual(asking.answers(), ["granted"])
        self.assertIn("with administrator rights: Broken pipe\n", said)
        outcome = Outcome(self.items, before, {"shared", "config"}, "partly")
        self.assertEqual(outcome.count("lost"), 0)


class Waiting(Uninstall):
    def test_one_wait_for_polkit_that_does_not_answer(self):
        start = time.monotonic()
        self.uninstall()
        self.assertLess(time.monotonic() - start, 30)  # a wait is 5 s


def main():
    if not ADMINISTRATOR:
        return 77
    begin_notes()
    suite = sys.argv[3]
    with Administration(polkit="hung" if suite == "Waiting" else "running"):
        run = unittest.main(argv=[sys.argv[0], suite], verbosity=2, exit=False)
        return 0 if run.result.wasSuccessful() else 1


if __name__ == "__main__":
    UNINSTALL, AGENT = sys.argv[1:3]
    sys.exit(main())
