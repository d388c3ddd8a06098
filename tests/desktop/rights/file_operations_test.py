"""File operations of the kit that the user may not do, done with administrator rights.

usage: file_operations_test.py CLIENT     (as the superuser of a private world)
"""

import os
import pwd
import shutil
import struct
import subprocess
import sys
import unittest

from clients import ADMINISTRATOR, COLLEAGUE, HELPER, HOME, PASSWORDS, Client, WithAdministration, \
    processes, unmount, wait_until
from session import UID, USER


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

    def test_folders_that_are_merged_into_stay_the_superusers(self):
        source = HOME + "/from"
        for path in (source, source + "/both"):
            os.mkdir(path)
            os.chown(path, UID, UID)
            os.chmod(path, 0o777)
        self.addCleanup(shutil.rmtree, source)
        self.mine("from/both/new", "new")
        os.makedirs(self.folder + "/to/both")
        self.assertTrue(self.do("copyFile", source, self.folder + "/to"))
        wait_until(lambda: os.path.exists(self.folder + "/to/both/new"))
        for path in (self.folder + "/to", self.folder + "/to/both"):
            found = os.stat(path)
            self.assertEqual((found.st_uid, found.st_gid, found.st_mode & 0o7777), (0, 0, 0o755))

    def test_copies_are_nobody_elses_because_of_the_folder_they_are_in(self):
        source = self.mine("private", "secret")
        os.chmod(source, 0o640)
        shared = HOME + "/shared"
        os.mkdir(shared)
        os.chown(shared, UID, UID)
        self.addCleanup(shutil.rmtree, shared)
        colleague = pwd.getpwnam(COLLEAGUE)
        nobody = 0xffffffff  # all that the mask lets through for one user, nothing for others
        entries = [(1, 7, nobody), (2, 7, colleague.pw_uid), (4, 0, nobody), (16, 7, nobody),
                   (32, 0, nobody)]
        os.setxattr(shared, "system.posix_acl_default", struct.pack("<I", 2) +
                    b"".join(struct.pack("<HHI", *entry) for entry in entries))
        self.assertTrue(self.do("copyFile", source, shared + "/plainly"))
        os.chown(source, 0, 0)  # now the user may not read it
        self.assertTrue(self.do("copyFile", source, shared + "/with rights"))
        for name in ("plainly", "with rights"):
            wait_until(lambda: os.path.exists(f"{shared}/{name}"))  # pylint: disable=cell-var-from-loop
            shown = subprocess.run(["cat", f"{shared}/{name}"], user=colleague.pw_uid,
                                   group=colleague.pw_gid, extra_groups=[], check=False,
                                   capture_output=True)
            self.assertEqual(shown.stdout, b"", name)

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

    def test_what_is_mounted_in_a_folder_is_neither_removed_nor_taken_along(self):
        for name in "precious", "tree", "tree/m", "tree/m/bound":
            os.mkdir(f"{self.folder}/{name}")
        for name in "precious/file", "tree/a", "tree/m/a", "tree/z":
            self.place(name, "content")
        bound = self.folder + "/tree/m/bound"
        subprocess.run(["mount", "--bind", self.folder + "/precious", bound], check=True)
        self.addCleanup(unmount, bound)
        for order in (("removeFile", self.folder + "/tree"),
                      ("moveFile", self.folder + "/tree", self.folder + "/moved"),
                      ("trashFile", self.folder + "/tree")):
            self.assertFalse(self.do(*order), order)
            for name in "precious/file", "tree/a", "tree/m/a", "tree/z":
                self.assertEqual(self.content(name), "content", order)
            self.assertFalse(os.path.exists(self.folder + "/moved"))

    def test_system_folders_are_not_moved(self):
        self.assertFalse(self.do("moveFile", "/Library", self.folder + "/Library"))
        self.assertTrue(os.path.isdir("/Library"))


class Superuser(unittest.TestCase):
    """The kit in a process of the superuser's, which needs no helper. The user is at the console."""

    @classmethod
    def setUpClass(cls):
        records = {"seats/seat0": "ACTIVE=c1\n", "sessions/c1": f"CLASS=user\nUSER={USER}\n"}
        for name, content in records.items():
            path = "/run/systemd/" + name
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "w", encoding="ascii") as file:
                file.write(content)

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree("/run/systemd")

    def setUp(self):
        self.folder = "/Library/" + self.id().rsplit(".", 1)[1]
        os.mkdir(self.folder)
        self.addCleanup(shutil.rmtree, self.folder)
        self.client = Client(user=False)
        self.addCleanup(self.client.__exit__)

    def do(self, *words):
        self.client.order(*words)
        # The superuser has no log, so messages stand among the answers.
        for _ in range(10):
            answer = self.client.answer()
            if answer in (["yes"], ["no"]):
                return answer == ["yes"]
        raise AssertionError("no answer")

    def add(self, name, content="content"):
        path = f"{self.folder}/{name}"
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(content)
        return path

    def content(self, name):
        with open(f"{self.folder}/{name}", encoding="utf-8") as file:
            return file.read()

    def bind(self, source, place):
        subprocess.run(["mount", "--bind", source, place], check=True)
        self.addCleanup(unmount, place)

    def test_a_copy_onto_a_folder_is_merged_and_not_nested(self):
        self.add("source/new")
        self.add("copy/old")
        self.assertTrue(self.do("copyFile", self.folder + "/source", self.folder + "/copy"))
        wait_until(lambda: os.path.exists(self.folder + "/copy/new"))
        self.assertEqual(sorted(os.listdir(self.folder + "/copy")), ["new", "old"])

    def test_nothing_is_moved_onto_or_into_a_folder(self):
        self.add("source/new")
        self.add("full/old")
        self.assertFalse(self.do("moveFile", self.folder + "/source", self.folder + "/full"))
        self.assertEqual(self.content("source/new"), "content")
        self.assertEqual(os.listdir(self.folder + "/full"), ["old"])

    def test_what_is_mounted_in_a_folder_is_neither_removed_nor_taken_along(self):
        precious = self.add("precious/file")
        for name in "tree/a", "tree/m/a", "tree/z":
            self.add(name)
        os.mkdir(self.folder + "/tree/m/bound")
        self.bind(os.path.dirname(precious), self.folder + "/tree/m/bound")
        for order in (("removeFile", self.folder + "/tree"),
                      ("moveFile", self.folder + "/tree", self.folder + "/moved"),
                      ("trashFile", self.folder + "/tree")):
            self.assertFalse(self.do(*order), order)
            self.assertEqual(self.content("precious/file"), "content")
            for name in "tree/a", "tree/m/a", "tree/z":
                self.assertEqual(self.content(name), "content", order)
            self.assertFalse(os.path.exists(self.folder + "/moved"))

    def test_items_of_one_name_get_names_of_their_own_in_the_trash(self):
        # On a volume without a Trash of the user's, items are moved by the tool.
        volume = "/Volumes/trashless"
        os.makedirs(volume)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=755", "volume", volume], check=True)
        self.addCleanup(unmount, volume)
        places = [f"{volume}/{number}/A.app" for number in range(4)]
        for place in places:
            os.makedirs(place + "/Contents")
        for place in places:
            self.assertTrue(self.do("trashFile", place))
        trash = HOME + "/.local/share/Trash"
        self.addCleanup(shutil.rmtree, trash)
        self.assertEqual(len(os.listdir(trash + "/files")), 4)
        for place in places:
            self.assertFalse(os.path.exists(place))
        recorded = []
        for name in os.listdir(trash + "/info"):
            with open(f"{trash}/info/{name}", encoding="ascii") as file:
                recorded.append(file.read().splitlines()[1].removeprefix("Path="))
            self.assertTrue(os.path.isdir(f"{trash}/files/{name.removesuffix('.trashinfo')}"
                                          "/Contents"))
        self.assertEqual(sorted(recorded), places)

    def test_files_are_replaced_by_moves_and_copies(self):
        self.add("new", "new")
        self.add("old", "old")
        self.assertTrue(self.do("copyFile", self.folder + "/new", self.folder + "/old"))
        wait_until(lambda: self.content("old") == "new")
        self.assertTrue(self.do("moveFile", self.folder + "/new", self.folder + "/old"))
        self.assertEqual(os.listdir(self.folder), ["old"])


if __name__ == "__main__":
    Client.program = sys.argv[1]
    unittest.main(argv=sys.argv[:1] + sys.argv[2:], verbosity=2)
