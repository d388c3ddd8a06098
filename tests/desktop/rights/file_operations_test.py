"""File operations of the kit that the user may not do, done with administrator rights.

usage: file_operations_test.py CLIENT     (as the superuser of a private world)
"""

import os
import subprocess
import sys
import unittest

from clients import ADMINISTRATOR, HELPER, HOME, PASSWORDS, Client, WithAdministration, processes, \
    unmount, wait_until
from session import UID


class FileOperations(WithAdministration):
    """Each in a folder that belongs to the superuser."""

    def setUp(self):
        super().setUp()
        self.client = Client()
        self.addCleanup(self.client.__exit__)
        self.assertTrue(self.do("login", ADMINISTRATOR, PASSWORDS[ADMINISTRATOR]))

    def tearDown(self):
        wait_until(lambda: len(processes(HELPER)) == 1)  # a tool may end after what it does
        self.client.__exit__()
        super().tearDown()

    def do(self, *words):
        answer = self.client.ask(*words)
        self.assertIn(answer, (["yes"], ["no"]))
        return answer == ["yes"]

    def content(self, name):
        with open(f"{self.folder}/{name}", encoding="utf-8") as file:
            return file.read()

    def mine(self, name, content=""):
        """A file of the user's."""
        path = f"{HOME}/{name}"
        with open(path, "w", encoding="utf-8") as file:
            file.write(content)
        os.chown(path, UID, UID)
        self.addCleanup(lambda: os.path.lexists(path) and os.unlink(path))
        return path

    def other_volume(self):
        """A mounted volume where the user may write."""
        volume = "/Volumes/" + self.id().rsplit(".", 1)[1]
        os.makedirs(volume)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=1777", "volume", volume], check=True)
        self.addCleanup(unmount, volume)
        return volume

    def test_folders_are_made_with_all_above_them(self):
        path = self.folder + "/one/two words/öl"
        self.assertTrue(self.do("createDirectory", path))
        self.assertEqual(os.stat(path).st_uid, 0)

    def test_empty_files_are_put_in_place_and_replace_others(self):
        path = self.place("file", "old")
        self.assertTrue(self.do("createEmptyFile", path))
        wait_until(lambda: os.path.getsize(path) == 0)

    def test_files_are_copied_over_others(self):
        source = self.mine("source", "new")
        path = self.place("file", "old")
        self.assertTrue(self.do("copyFile", source, path))
        wait_until(lambda: self.content("file") == "new")
        self.assertTrue(os.path.exists(source))

    def test_folders_are_copied_with_all_below_them(self):
        os.makedirs(self.folder + "/from/deep")
        self.place("from/deep/file", "content")
        os.chmod(self.folder + "/from", 0o700)  # which the user may not look into
        self.assertTrue(self.do("copyFile", self.folder + "/from", self.folder + "/to"))
        wait_until(lambda: os.path.exists(self.folder + "/to/deep/file"))
        self.assertEqual(self.content("to/deep/file"), "content")
        self.assertEqual(os.stat(self.folder + "/to").st_mode & 0o777, 0o700)

    def test_items_are_moved_and_replace_files(self):
        self.place("old", "kept")
        target = self.place("new", "replaced")
        self.assertTrue(self.do("moveFile", self.folder + "/old", target))
        self.assertEqual(self.content("new"), "kept")
        self.assertFalse(os.path.exists(self.folder + "/old"))

    def test_items_are_renamed_to_capitals(self):
        self.place("name", "content")
        self.assertTrue(self.do("moveFile", self.folder + "/name", self.folder + "/Name"))
        wait_until(lambda: os.listdir(self.folder) == ["Name"])

    def test_items_that_the_user_may_not_delete_are_moved_to_another_volume_whole(self):
        volume = self.other_volume()
        os.makedirs(self.folder + "/tree/deep")
        self.place("tree/deep/file", "content")
        os.chown(self.folder, UID, UID)
        os.chown(self.folder + "/tree", UID, UID)  # but not what lies deeper
        self.assertTrue(self.do("moveFile", self.folder + "/tree", volume + "/tree"))
        self.assertEqual(os.listdir(self.folder), [])
        with open(volume + "/tree/deep/file", encoding="utf-8") as file:
            self.assertEqual(file.read(), "content")
        self.assertEqual(os.listdir(volume), ["tree"])

    def test_what_is_missing_is_neither_copied_nor_moved(self):
        missing = self.folder + "/missing"
        self.assertFalse(self.do("copyFile", missing, self.folder + "/copy"))
        self.assertFalse(self.do("moveFile", missing, self.folder + "/moved"))
        self.assertEqual(os.listdir(self.folder), [])

    def test_system_folders_are_not_moved(self):
        self.assertFalse(self.do("moveFile", "/Library", self.folder + "/Library"))
        self.assertTrue(os.path.isdir("/Library"))


if __name__ == "__main__":
    Client.program = sys.argv[1]
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=2)
