"""Asks for administrator rights, and uses them, as programs on the kit do.

usage: rights_test.py CLIENT AGENT [TEST CLASS...]     (as the superuser of a private world)
"""

import ctypes
import glob
import os
import pwd
import shutil
import signal
import stat
import struct
import subprocess
import sys
import unittest

from clients import ADMINISTRATOR, AGENT, CANCELLED, COLLEAGUE, DENIED, GRANTED, HELPER, HOME, \
    INTERNAL, PASSWORDS, TOOL_FAILED, ServiceClient, WithAdministration, notes, processes, unmount, \
    wait_until, with_agent
from administration import Administration
from session import UID, USER, as_user, in_session

EPERM, EINVAL, EPIPE, ELOOP = 1, 22, 32, 40


class Credentials(WithAdministration):
    def check_denied(self, user, word=None):
        with ServiceClient() as client:
            self.assertEqual(client.login(user, word), DENIED)
            self.assertEqual(processes(HELPER), [])
            self.assertEqual(client.run("/bin/mkdir", "-p", self.folder + "/made")[0], -60002)
        self.assertFalse(os.path.exists(self.folder + "/made"))

    def test_right_password(self):
        with ServiceClient() as client:
            self.assertEqual(client.login(ADMINISTRATOR), GRANTED)
            self.assertEqual(client.run("/bin/mkdir", "-p", self.folder + "/made"), (GRANTED, 0))
            self.assertEqual(os.stat(self.folder + "/made").st_uid, 0)

    def test_wrong_password(self):
        self.check_denied(ADMINISTRATOR, "wrong")

    def test_empty_password(self):
        self.check_denied(ADMINISTRATOR, " ")

    def test_user_who_is_no_administrator(self):
        self.check_denied(COLLEAGUE)

    def test_the_user_themselves_is_no_administrator(self):
        self.check_denied(USER)

    def test_unknown_user(self):
        self.check_denied("nobody-here", "x")

    def test_a_second_login_after_a_failed_one(self):
        with ServiceClient() as client:
            self.assertEqual(client.login(ADMINISTRATOR, "wrong"), DENIED)
            self.assertEqual(client.login(ADMINISTRATOR), GRANTED)

    def test_the_password_is_in_no_command_line_and_in_no_environment(self):
        with ServiceClient() as client:
            client.order("login", ADMINISTRATOR, PASSWORDS[ADMINISTRATOR])
            seen = set()
            while not processes(HELPER):
                for place in glob.glob("/proc/[0-9]*/cmdline") + glob.glob("/proc/[0-9]*/environ"):
                    pid = place.split("/")[2]
                    if int(pid) == os.getpid():
                        continue
                    try:
                        with open(place, "rb") as file:
                            seen.add(file.read())
                    except OSError:
                        pass
            self.assertEqual(int(client.answer()[0]), GRANTED)
        known = PASSWORDS[ADMINISTRATOR].encode()
        self.assertTrue(seen)
        self.assertEqual([text for text in seen if known in text], [])

    def test_the_agent_has_gone_once_the_right_is_there(self):
        with ServiceClient() as client:
            self.assertEqual(client.login(ADMINISTRATOR), GRANTED)
            wait_until(lambda: not processes(AGENT))


class Dialog(WithAdministration):
    def test_right_password(self):
        with with_agent("--user", ADMINISTRATOR, "--password",
                        PASSWORDS[ADMINISTRATOR]) as client:
            self.assertEqual(client.start(), GRANTED)
            self.assertEqual(client.run("/bin/mkdir", "-p", self.folder + "/made"), (GRANTED, 0))
        self.assertEqual(notes(), ["granted"])

    def test_wrong_password(self):
        with with_agent("--user", ADMINISTRATOR, "--password", "wrong") as client:
            self.assertEqual(client.start(), DENIED)
        self.assertEqual(notes(), ["denied"])

    def test_cancelled(self):
        with with_agent("--cancel") as client:
            self.assertEqual(client.start(), CANCELLED)
            self.assertEqual(client.start(), CANCELLED)
        self.assertEqual(notes(), ["cancelled", "cancelled"])

    def test_nobody_who_could_ask(self):
        with ServiceClient() as client:
            self.assertEqual(client.start(), DENIED)

    def test_each_session_is_asked_for_anew(self):
        with with_agent("--user", ADMINISTRATOR, "--password",
                        PASSWORDS[ADMINISTRATOR]) as client:
            for _ in range(2):
                self.assertEqual(client.start(), GRANTED)
                client.ask("free")
                wait_until(lambda: not processes(HELPER))
        self.assertEqual(notes(), ["granted", "granted"])

    def test_the_client_is_killed_while_the_dialog_is_up(self):
        with with_agent("--hold") as client:
            client.order("start")
            wait_until(lambda: notes() == ["asked"])
            self.assertEqual(len(processes("/usr/bin/pkexec")), 1)
            client.process.kill()
            client.process.wait()
            wait_until(lambda: not processes("/usr/bin/pkexec"))
            self.assertEqual(processes(HELPER), [])


class Session(WithAdministration):
    def setUp(self):
        super().setUp()
        self.client = ServiceClient()
        self.addCleanup(self.client.__exit__)
        self.assertEqual(self.client.login(ADMINISTRATOR), GRANTED)

    def tearDown(self):
        self.client.__exit__()
        super().tearDown()

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.client.process.pid}/fd"))

    def test_many_runs_with_one_authentication(self):
        helper = processes(HELPER)
        before = self.descriptors()
        self.assertEqual(self.client.ask("many", "1", "500", self.folder), ["500"])
        self.assertEqual(processes(HELPER), helper)
        self.assertLessEqual(self.descriptors(), before)

    def test_two_threads(self):
        self.assertEqual(self.client.ask("many", "2", "250", self.folder), ["500"])

    def test_every_tool(self):
        one, two = self.folder + "/one", self.folder + "/two"
        run = self.client.run
        self.assertEqual(run("/bin/mkdir", "-p", one + "/deep"), (GRANTED, 0))
        self.assertEqual(run("/bin/cp", "-f", "-p", "-R", one, two), (GRANTED, 0))
        self.assertTrue(os.path.isdir(two + "/deep"))
        self.assertEqual(run("/bin/mv", "-f", two, HOME + "/mine"), (GRANTED, 0))
        self.assertEqual(os.stat(HOME + "/mine").st_uid, 0)
        self.assertEqual(run("/usr/bin/touch", "-c", one), (GRANTED, 0))
        self.assertEqual(run("/bin/rm", "-Rdf", one), (GRANTED, 0))
        self.assertEqual(run("/bin/rm", "-R", "-f", HOME + "/mine"), (GRANTED, 0))
        self.assertEqual(os.listdir(self.folder), [])

    def test_refusals_have_the_systems_reason(self):
        run = self.client.run
        self.assertEqual(run("/bin/chmod", "777", self.folder), (TOOL_FAILED, EPERM))
        self.assertEqual(run("/bin/rm", "-Rdf", "--no-preserve-root", self.folder),
                         (TOOL_FAILED, EINVAL))
        self.assertEqual(run("/bin/rm", "-Rdf", self.folder + "/../x"), (TOOL_FAILED, EINVAL))
        self.assertEqual(run("/bin/rm", "-Rdf", "/Library"), (TOOL_FAILED, EPERM))
        os.symlink("/Library", HOME + "/link")
        self.assertEqual(run("/bin/rm", "-Rdf", HOME + "/link" + self.folder[8:]),
                         (TOOL_FAILED, ELOOP))
        os.unlink(HOME + "/link")
        self.assertTrue(os.path.isdir(self.folder))

    def test_slashes_and_dots_that_mean_nothing_are_no_reason_to_refuse(self):
        self.place("file")
        self.assertEqual(self.client.run("/bin/rm", "-Rdf", f"/{self.folder}/.//file/"),
                         (GRANTED, 0))
        self.assertEqual(os.listdir(self.folder), [])

    def big(self):
        """A tree whose removal takes a while. Not on the world's own disk, which makes files slowly
        where many have just been removed."""
        subprocess.run(["mount", "-t", "tmpfs", "world", self.folder], check=True)
        self.addCleanup(unmount, self.folder)
        tree = self.folder + "/big"
        for number in range(20):
            os.makedirs(f"{tree}/{number}")
            for name in range(1000):
                with open(f"{tree}/{number}/{name}", "x", encoding="ascii"):
                    pass
        return tree

    def test_a_helper_that_dies_fails_later_runs_but_not_the_tool_under_way(self):
        tree = self.big()
        self.client.order("begin", "/bin/rm", "-Rdf", tree)
        self.assertEqual(self.client.answer()[:2], ["0", "0"])
        helper = min(processes(HELPER))  # the other one, its child, removes the tree
        os.kill(helper, signal.SIGKILL)
        self.assertEqual(self.client.run("/usr/bin/touch", "-c", self.folder),
                         (TOOL_FAILED, EPIPE))
        wait_until(lambda: not processes(HELPER))  # which holds the folder until it has ended
        self.assertFalse(os.path.exists(tree))

    def test_a_client_that_dies_ends_the_helper_but_not_the_tool_under_way(self):
        tree = self.big()
        self.client.order("begin", "/bin/rm", "-Rdf", tree)
        self.client.answer()
        self.client.process.kill()
        wait_until(lambda: not processes(HELPER))
        self.assertFalse(os.path.exists(tree))

    def test_what_a_killed_helper_left_is_removed_by_the_next_session(self):
        tree = self.big()
        self.client.order("begin", "/bin/cp", "-f", "-p", "-R", tree, HOME + "/copy")
        self.assertEqual(self.client.answer()[:2], ["0", "0"])
        left = lambda: glob.glob(HOME + "/.quorvane-*")
        wait_until(left)
        for process in processes(HELPER):  # and the one that copies
            os.kill(process, signal.SIGKILL)
        self.client.__exit__()
        self.assertEqual(len(left()), 1)
        self.assertFalse(os.path.exists(HOME + "/copy"))
        with ServiceClient() as client:
            self.assertEqual(client.login(ADMINISTRATOR), GRANTED)
            wait_until(lambda: not left())
        wait_until(lambda: not os.path.exists("/var/lib/quorvane-privileged-helper"))

    def test_the_helper_has_nothing_of_its_client(self):
        (helper,) = processes(HELPER)
        proc = f"/proc/{helper}"
        self.assertEqual(sorted(os.listdir(proc + "/fd")), ["0", "1", "2"])
        self.assertEqual(os.readlink(proc + "/cwd"), "/")
        with open(proc + "/status", encoding="ascii") as file:
            status = dict(line.rstrip("\n").split(":\t", 1) for line in file if ":\t" in line)
        self.assertEqual(status["Uid"], "0\t0\t0\t0")
        self.assertEqual(status["Umask"], "0022")


class Attacks(WithAdministration):
    """What another program of the same user might try."""

    THIEF = """
import ctypes, os, sys
libc = ctypes.CDLL(None, use_errno=True)
victim = os.pidfd_open(int(sys.argv[1]))
taken = [number for number in range(64) if libc.syscall(438, victim, number, 0) >= 0]
attached = libc.ptrace(16, int(sys.argv[1]), 0, 0) == 0
def readable(name):
    try:
        open(f"/proc/{sys.argv[1]}/{name}", "rb").read(1)
        return True
    except OSError:
        return False
print(len(taken), int(attached), int(readable("mem")), int(readable("environ")))
"""

    def rob(self, pid):
        """Descriptors taken, whether it could be attached to, and its memory and environment read,
        by a program of the user."""
        shown = subprocess.run(as_user([sys.executable, "-c", self.THIEF, str(pid)]),
                               capture_output=True, text=True, check=True).stdout
        return tuple(map(int, shown.split()))

    def test_the_session_cannot_be_borrowed(self):
        with ServiceClient() as client:
            self.assertEqual(client.login(ADMINISTRATOR), GRANTED)
            self.assertEqual(self.rob(client.process.pid), (0, 0, 0, 0))

    def test_the_thief_can_rob_others(self):
        """Else the test above would prove nothing."""
        with ServiceClient() as client:
            client.ask("free")
            taken, attached, _, readable = self.rob(client.process.pid)
            client.process.send_signal(signal.SIGCONT)  # it is left as the thief stopped it
        self.assertEqual(readable, 1)
        if attached:  # some machines forbid it to everybody
            self.assertGreaterEqual(taken, 3)

    def test_a_program_that_is_being_traced_gets_nothing(self):
        with ServiceClient() as client:
            client.ask("free")
            libc = ctypes.CDLL(None, use_errno=True)
            self.assertEqual(libc.ptrace(0x4206, client.process.pid, None, None), 0)  # SEIZE
            self.assertIn(client.login(ADMINISTRATOR), (DENIED, INTERNAL))
            self.assertEqual(processes(HELPER), [])

    def test_the_helper_serves_nobody_who_calls_it_directly(self):
        shown = subprocess.run(as_user([HELPER], PKEXEC_UID="0"), stdin=subprocess.DEVNULL,
                               capture_output=True, check=False)
        self.assertEqual((shown.returncode, shown.stdout), (1, b""))

    def test_a_session_is_only_inherited_by_a_superuser_whom_polkit_made(self):
        with ServiceClient(PKEXEC_UID=str(UID)) as client:
            self.assertEqual(int(client.ask("inherit")[0]), DENIED)
        with ServiceClient(user=False) as client:
            self.assertEqual(int(client.ask("inherit")[0]), DENIED)
        with ServiceClient(user=False, PKEXEC_UID="12x") as client:
            self.assertEqual(int(client.ask("inherit")[0]), DENIED)
        with ServiceClient(user=False, PKEXEC_UID=str(UID)) as client:
            self.assertEqual(int(client.ask("inherit")[0]), GRANTED)
            self.assertEqual(client.run("/bin/mkdir", "-p", self.folder + "/made"), (GRANTED, 0))
        self.assertTrue(os.path.isdir(self.folder + "/made"))


class Gains(WithAdministration):
    """What may do more than its user, on its way through the helper."""

    def setUp(self):
        super().setUp()
        self.client = ServiceClient()
        self.addCleanup(self.client.__exit__)
        self.assertEqual(self.client.login(ADMINISTRATOR), GRANTED)

    def tearDown(self):
        self.client.__exit__()
        super().tearDown()

    def volume(self):
        """One that the user could bring along, and all that is on it."""
        volume = self.folder + "/volume"
        os.mkdir(volume)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "nosuid,nodev,mode=755", "volume", volume],
                       check=True)
        self.addCleanup(unmount, volume)
        return volume

    @staticmethod
    def arm(folder):
        """Programs that would give the user the superuser's rights."""
        os.makedirs(folder)
        shutil.copy("/usr/bin/id", folder + "/id")
        os.chmod(folder + "/id", 0o4755)
        shutil.copy(os.path.realpath(sys.executable), folder + "/python")
        capability = struct.pack("<5I", 0x02000001, 1 << 7, 0, 0, 0)  # CAP_SETUID, effective
        os.setxattr(folder + "/python", "security.capability", capability)
        return folder

    @staticmethod
    def gained(folder):
        """The user numbers that the programs give to the user."""
        def run(*command):
            return int(subprocess.run(as_user(command), capture_output=True, text=True,
                                      check=True).stdout)
        script = "import os\ntry: os.setuid(0)\nexcept OSError: pass\nprint(os.getuid())"
        return [run(folder + "/id", "-u"), run(folder + "/python", "-I", "-c", script)]

    def run_all(self, *commands):
        for command in commands:
            self.assertEqual(self.client.run(*command)[0], GRANTED)

    def test_the_programs_would_give_them(self):
        """Else the tests below would prove nothing."""
        self.assertEqual(self.gained(self.arm(self.folder + "/programs")), [0, 0])

    def test_a_hostile_volume_gains_nothing(self):
        programs = self.arm(self.volume() + "/programs")
        self.addCleanup(shutil.rmtree, HOME + "/copy")
        self.run_all(("/bin/cp", "-f", "-p", "-R", programs, HOME + "/copy"),
                     ("/bin/cp", "-f", "-p", "-R", programs, self.folder + "/copy"),
                     ("/bin/mv", "-f", programs, self.folder + "/moved"))
        for place in (HOME + "/copy", self.folder + "/copy", self.folder + "/moved"):
            wait_until(lambda: os.path.exists(place))  # pylint: disable=cell-var-from-loop
            self.assertEqual(self.gained(place), [UID, UID])

    def test_a_hostile_volumes_devices_stay_there(self):
        device = self.volume() + "/null"
        os.mknod(device, stat.S_IFCHR | 0o666, os.makedev(1, 3))
        for tool in (("/bin/cp", "-f", "-p", "-R"), ("/bin/mv", "-f")):
            for place in (self.folder, HOME):
                self.client.run(*tool, device, place + "/device")
                self.assertFalse(os.path.lexists(place + "/device"))
        self.assertTrue(os.path.exists(device))
        self.assertEqual(os.listdir(self.folder), ["volume"])

    def test_what_only_the_superuser_could_run_does_not_come_to_the_user(self):
        os.mkdir(self.folder + "/closed", 0o700)
        programs = self.arm(self.folder + "/closed/programs")
        self.addCleanup(shutil.rmtree, HOME + "/copy")
        self.run_all(("/bin/cp", "-f", "-p", "-R", programs, HOME + "/copy"))
        wait_until(lambda: os.path.exists(HOME + "/copy"))
        self.assertEqual(self.gained(HOME + "/copy"), [UID, UID])
        self.assertEqual(self.client.run("/bin/mv", "-f", programs, HOME + "/moved"),
                         (TOOL_FAILED, EPERM))
        self.assertTrue(os.path.isdir(programs))

    def test_a_bundle_that_everybody_can_use_is_moved_as_it_is(self):
        bundle = self.folder + "/Tool.app"
        self.arm(bundle + "/Contents")
        self.addCleanup(shutil.rmtree, HOME + "/Tool.app")
        self.run_all(("/bin/mv", "-f", bundle, HOME + "/Tool.app"))
        self.assertEqual(os.stat(HOME + "/Tool.app/Contents/id").st_mode & 0o7777, 0o4755)


class Trash(WithAdministration):
    """Items moved with rights are in the user's own Trash as any others."""

    TRASH = HOME + "/.local/share/Trash"

    def setUp(self):
        super().setUp()
        self.client = ServiceClient()
        self.addCleanup(self.client.__exit__)
        self.assertEqual(self.client.login(ADMINISTRATOR), GRANTED)
        subprocess.run(as_user(["sh", "-c", "touch ~/.x; gio trash ~/.x; ln -sfn "
                                + self.TRASH + "/files ~/.Trash"]), check=True)

    def tearDown(self):
        self.client.__exit__()
        shutil.rmtree(self.TRASH)
        super().tearDown()

    def trash(self, path):
        name = os.path.basename(path)
        return self.client.run("/bin/mv", "-f", path, f"{HOME}/.Trash/{name}")

    def info(self, name):
        try:
            with open(f"{self.TRASH}/info/{name}.trashinfo", encoding="utf-8") as file:
                return file.read()
        except FileNotFoundError:
            return None

    def listing(self):
        script = "gio trash --list"
        return subprocess.run(in_session(["sh", "-c", script]), capture_output=True, text=True,
                              check=True).stdout

    def test_an_item_is_listed_with_its_place_and_put_back_by_an_administrator(self):
        path = self.place("Notes ö.txt", "content")
        self.assertEqual(self.trash(path), (GRANTED, 0))
        self.assertFalse(os.path.exists(path))
        self.assertIn(f"Path={self.folder}/Notes%20%C3%B6.txt", self.info("Notes ö.txt"))
        self.assertEqual(os.stat(f"{self.TRASH}/files/Notes ö.txt").st_uid, 0)
        self.assertIn(f"\t{self.folder}/Notes ", self.listing())  # it spells the rest out
        # The superuser with the user's Trash: what `pkexec` or `sudo` give an administrator.
        subprocess.run(["trash-restore", path], input="0\n", text=True, check=True,
                       stdout=subprocess.DEVNULL,
                       env={**os.environ, "XDG_DATA_HOME": HOME + "/.local/share"})
        with open(path, encoding="utf-8") as file:
            self.assertEqual(file.read(), "content")
        self.assertIsNone(self.info("Notes ö.txt"))

    def test_files_can_be_emptied_and_folders_with_content_need_an_administrator(self):
        file = self.place("file")
        os.makedirs(self.folder + "/folder/full")
        for path in (file, self.folder + "/folder"):
            self.assertEqual(self.trash(path), (GRANTED, 0))
        subprocess.run(in_session(["gio", "trash", "--empty"]), check=False,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.assertFalse(os.path.lexists(self.TRASH + "/files/file"))
        self.assertTrue(os.path.isdir(self.TRASH + "/files/folder/full"))

    def test_an_item_that_does_not_come_leaves_no_record(self):
        self.assertEqual(self.trash(self.folder + "/missing")[0], TOOL_FAILED)
        self.assertIsNone(self.info("missing"))
        self.assertEqual(self.trash("/Library"), (TOOL_FAILED, EPERM))
        self.assertIsNone(self.info("Library"))


class SystemTrouble(unittest.TestCase):
    def check_nobody_can_be_asked(self):
        with ServiceClient() as client:
            self.assertEqual(client.login(ADMINISTRATOR), INTERNAL)
            self.assertEqual(client.start(), INTERNAL)
        self.assertEqual(processes("/usr/bin/pkexec") + processes(HELPER), [])

    def test_no_bus(self):
        self.check_nobody_can_be_asked()

    def test_no_polkit(self):
        with Administration(polkit=""):
            self.check_nobody_can_be_asked()

    def test_polkit_that_does_not_answer(self):
        with Administration(polkit="hung"):
            self.check_nobody_can_be_asked()


if __name__ == "__main__":
    ServiceClient.program, ServiceClient.agent = sys.argv[1:3]
    pwd.getpwnam(ADMINISTRATOR)
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=2)
