"""The check of the outcome must see every harm that an uninstaller could do."""

import os
import shutil
import unittest

import material
import sample_installation
from outcome import Outcome, chosen_options, world
from sample_installation import HOME, TRASH
from session import UID


class OutcomeTest(unittest.TestCase):
    def setUp(self):
        sample_installation.clear()
        self.items = {item.path: item for item in sample_installation.install(UID, UID)}
        self.before = world()

    def outcome(self, options=frozenset()):
        return Outcome(list(self.items.values()), self.before, options)

    def trash(self, path, name):
        material.file(f"{TRASH}/info/{name}.trashinfo", b"[Trash Info]\nPath=" + path.encode()
                      + b"\nDeletionDate=2024-02-03T04:05:06\n")
        os.rename(path, f"{TRASH}/files/{name}")

    def test_untouched_world_is_a_cancelled_run(self):
        self.assertIsNone(chosen_options(self.items.values()))
        outcome = self.outcome(options=None)
        self.assertTrue(outcome.holds(), outcome.problems + outcome.touched)
        self.assertEqual(outcome.last_line(), f"rehearsal: {len(self.items)} installed, "
                         f"0 in the Trash, {len(self.items)} kept, 0 lost, 0 strangers touched")

    def test_item_in_the_trash_is_found_by_its_info_file(self):
        path = "/Library/Preferences/com.quorvane.FaultLens.plist"
        self.trash(path, "another name")
        self.assertEqual(self.outcome().state[self.items[path]], "trashed")
        self.assertEqual(chosen_options(self.items.values()), {"config"})

    def test_item_that_should_have_gone_is_a_problem(self):
        self.assertFalse(self.outcome(options={"config", "shared"}).holds())

    def test_item_in_the_trash_without_info_file_is_lost(self):
        path = "/Library/Preferences/com.quorvane.Swiftmend.plist"
        os.rename(path, TRASH + "/files/com.quorvane.Swiftmend.plist")
        self.assertEqual(self.outcome().state[self.items[path]], "lost")

    def test_deleted_item_is_lost(self):
        path = "/private/var/db/receipts/com.quorvane.BrightkeelSuite.Gantry.bom"
        os.unlink(path)
        outcome = self.outcome()
        self.assertEqual(outcome.state[self.items[path]], "lost")
        self.assertFalse(outcome.holds())

    def test_item_is_lost_when_it_is_not_whole(self):
        path = "/Applications/Encoder Medic.app"
        os.chmod(path + "/Contents/Info.plist", 0o600)
        self.assertEqual(self.outcome().state[self.items[path]], "lost")

    def test_info_file_without_item_is_a_problem(self):
        material.file(TRASH + "/info/ghost.trashinfo", b"[Trash Info]\nPath=/x\n"
                      b"DeletionDate=2024-02-03T04:05:06\n")
        self.assertIn("without its item", self.outcome(None).problems[0])

    def assert_touched(self, path):
        outcome = self.outcome(None)
        self.assertTrue(any(line.startswith(f"{path!a}: ") for line in outcome.touched),
                        outcome.touched)
        self.assertFalse(outcome.holds())

    def test_strangers_are_watched_in_every_respect(self):
        material.file("/Library/Preferences/com.quorvane.global.plist")
        self.assert_touched("/Library/Preferences/com.quorvane.global.plist")
        os.chmod(HOME + "/Movies/take 1.mov", 0o600)
        self.assert_touched(HOME + "/Movies/take 1.mov")
        os.utime(HOME + "/Documents", ns=(1, 1))
        self.assert_touched(HOME + "/Documents")
        os.unlink(HOME + "/.profile")
        self.assert_touched(HOME + "/.profile")
        shutil.rmtree(TRASH + "/files/Fault Lens.app")
        self.assert_touched(TRASH + "/files/Fault Lens.app")

    def test_newcomers_are_noticed(self):
        material.file("/Library/Logs/left behind.log")
        self.assert_touched("/Library/Logs/left behind.log")

    def test_empty_folder_left_behind_is_a_problem(self):
        folder = "/Library/Application Support/Quorvane/Brightkeel"
        for name in ("Engine", "licence.dat", "empty"):
            self.trash(f"{folder}/{name}", name)
        self.assertTrue(any("its folder is empty" in line for line in self.outcome().problems))
        shutil.rmtree(folder)
        self.assertFalse(any(folder in line for line in self.outcome().touched))


if __name__ == "__main__":
    unittest.main()
