"""What the tests of administrator rights share: passwords, programs that ask for the right, folders."""

import ctypes
import errno
import glob
import os
import shutil
import subprocess
import sys
import time
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))

from administration import Administration
from session import UID, USER, as_user

ADMINISTRATOR = os.environ.get("WORLD_ADMINISTRATOR", "")
COLLEAGUE = os.environ.get("WORLD_COLLEAGUE", "")
HELPER = "/usr/local/libexec/quorvane/privileged-helper"
AGENT = os.path.dirname(HELPER) + "/password-agent"
PKEXEC = "/usr/bin/pkexec"
PROVERS = ("/usr/lib/polkit-1/polkit-agent-helper-1", "/usr/libexec/polkit-agent-helper-1")
GRANTED, DENIED, CANCELLED, INTERNAL, TOOL_FAILED = 0, -60005, -60006, -60008, -60031
PATIENCE = 60
HOME = "/Users/" + USER
NOTE = "/run/user/%d/note" % UID
LIBC = ctypes.CDLL(None, use_errno=True)


# What this script starts need not know them.
PASSWORDS = {ADMINISTRATOR: os.environ.pop("WORLD_ADMINISTRATOR_PASSWORD", ""),
             COLLEAGUE: os.environ.pop("WORLD_COLLEAGUE_PASSWORD", ""),
             USER: os.environ.pop("WORLD_USER_PASSWORD", "")}


def processes(program):
    """The ids of all processes that run a program."""
    found = []
    for link in glob.glob("/proc/[0-9]*/exe"):
        try:
            if os.readlink(link) == program:
                found.append(int(link.split("/")[2]))
        except OSError:
            pass  # it has just ended
    return found


def wait_until(question, patience=PATIENCE):
    deadline = time.monotonic() + patience
    while not question():
        if time.monotonic() > deadline:
            raise AssertionError("it did not happen in time")
        time.sleep(0.01)


def unmount(folder):
    """Unmounts a volume once nobody holds anything of it. A process that ends closes its files later
    than it ceases to show which program it ran."""
    wait_until(lambda: _unmounts(folder))


def _unmounts(folder):
    if LIBC.umount(folder.encode()) == 0:
        return True
    number = ctypes.get_errno()
    if number != errno.EBUSY:
        raise OSError(number, os.strerror(number), folder)
    return False


class Client:
    """A program on the kit, run by the user; its answers are lists of words."""

    program = ""

    def __init__(self, *before, user=True, **settings):
        command = [*before, self.program]
        command = as_user(command, **settings) if user else \
            ["env", *[f"{name}={value}" for name, value in settings.items()], *command]
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        cwd="/")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        if self.process.poll() is None:
            try:
                self.process.wait(PATIENCE)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
                raise
        self.process.stdout.close()

    def order(self, *words):
        self.process.stdin.write("\t".join(words).encode() + b"\n")
        self.process.stdin.flush()

    def answer(self):
        return self.process.stdout.readline().decode().rstrip("\n").split("\t")[:-1]

    def ask(self, *words):
        self.order(*words)
        return self.answer()


class ServiceClient(Client):
    """One that uses the authorization service itself."""

    agent = ""  # the desktop's, by which it can be asked

    def login(self, user, word=None):
        return int(self.ask("login", user, PASSWORDS[user] if word is None else word)[0])

    def start(self):
        return int(self.ask("start")[0])

    def run(self, *words):
        """Status and reason."""
        return tuple(map(int, self.ask("run", *words)[:2]))


def with_agent(*answer):
    """A client with a desktop agent that gives this answer."""
    if os.path.exists(NOTE):
        os.unlink(NOTE)
    return ServiceClient(ServiceClient.agent, "--note", NOTE, *answer)


def notes():
    if not os.path.exists(NOTE):
        return []
    with open(NOTE, encoding="utf-8") as file:
        return file.read().split()


class WithAdministration(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.administration = cls.enterClassContext(Administration())

    def setUp(self):
        self.folder = "/Library/" + self.id().rsplit(".", 1)[1]
        os.mkdir(self.folder)
        self.addCleanup(shutil.rmtree, self.folder)

    def tearDown(self):
        wait_until(lambda: not processes(HELPER))

    def place(self, name, content=""):
        path = f"{self.folder}/{name}"
        with open(path, "w", encoding="utf-8") as file:
            file.write(content)
        return path

    @classmethod
    def enterClassContext(cls, context):
        cls.addClassCleanup(context.__exit__, None, None, None)
        return context.__enter__()
