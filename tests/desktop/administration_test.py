"""A world with administrators must be as strict as a real machine. Runs as the world's user."""

import grp
import os
import subprocess
import sys
import unittest

ACTION = "com.quorvane.privileged-helper"


def run(*command):
    return subprocess.run(command, capture_output=True, text=True, check=False)


class AdministrationTest(unittest.TestCase):
    def test_only_the_administrator_may_administer(self):
        self.assertEqual(grp.getgrnam("sudo").gr_mem, [os.environ["WORLD_ADMINISTRATOR"]])
        self.assertEqual(os.getgroups(), [os.getgid()])

    def test_the_helper_needs_an_administrator_wherever_the_user_sits(self):
        shown = run("pkaction", "--action-id", ACTION, "--verbose").stdout
        for seat in ("any", "inactive", "active"):
            self.assertRegex(shown, rf"implicit {seat}: +auth_admin\n")
        self.assertRegex(shown, r"exec\.path -> /\S*/quorvane/privileged-helper\n")

    def test_nothing_is_granted_without_anybody_to_ask(self):
        asked = run("pkcheck", "--action-id", ACTION, "--process", str(os.getpid()))
        self.assertEqual(asked.returncode, 2)

    def test_what_is_installed_is_the_superusers(self):
        for folder in ("/usr/local", "/usr/share/polkit-1/actions"):
            for place, folders, files in os.walk(folder):
                for name in [".", *folders, *files]:
                    facts = os.lstat(os.path.join(place, name))
                    self.assertEqual((facts.st_uid, facts.st_mode & 0o022), (0, 0), name)

    def test_passwords_are_the_superusers_to_read(self):
        self.assertFalse(os.access("/etc/shadow", os.R_OK))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
