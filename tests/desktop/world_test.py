"""A private world must keep whoever is in it away from the machine outside."""

import os
import subprocess
import sys
import unittest

from session import HERE, UID, USER, as_user


def mounts():
    """Mount point, options and device of every mount."""
    with open("/proc/self/mounts", encoding="utf-8") as file:
        for line in file:
            device, place, _, options = line.split()[:4]
            yield place, options.split(","), device


class WorldTest(unittest.TestCase):
    def test_only_the_world_itself_can_be_written(self):
        own = {"world"}
        writable = {place for place, options, device in mounts()
                    if "rw" in options and device not in own and not place.startswith("/dev/")}
        self.assertLessEqual(writable, {"/"})

    def test_programs_and_project_are_read_only(self):
        for folder in ("/usr", "/usr/bin", HERE):
            with self.assertRaisesRegex(OSError, "Read-only file system"):
                with open(folder + "/written by a test", "x", encoding="ascii"):
                    pass

    def test_the_machine_is_out_of_reach(self):
        self.assertFalse(os.path.exists("/.machine"))
        for folder in ("/home", "/mnt", "/srv", "/media", "/sys"):
            # The project may stand there, and nothing else.
            if not HERE.startswith(folder + "/"):
                self.assertFalse(os.path.exists(folder), folder)
        self.assertEqual(os.listdir("/root"), [])

    def test_processes_are_its_own(self):
        processes = [name for name in os.listdir("/proc") if name.isdigit()]
        self.assertLess(len(processes), 5)
        self.assertEqual(os.getpid(), 1)

    def test_there_is_no_network_but_its_own(self):
        with open("/proc/net/dev", encoding="ascii") as file:
            self.assertEqual([line.split(":")[0].strip() for line in file if ":" in line], ["lo"])

    def test_the_user_is_an_ordinary_one(self):
        shown = subprocess.run(as_user(["sh", "-c", "id -un; id -u; cd; pwd; touch .x; rm .x"]),
                               capture_output=True, text=True, check=True)
        self.assertEqual(shown.stdout, f"{USER}\n{UID}\n/Users/{USER}\n")
        self.assertGreaterEqual(UID, 1000)

    def test_the_home_can_be_renamed_into_from_everywhere(self):
        for place in ("/Applications", "/Library", "/private/var/db/receipts"):
            with open(place + "/item", "x", encoding="ascii"):
                pass
            os.rename(place + "/item", f"/Users/{USER}/item")
        os.unlink(f"/Users/{USER}/item")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
