#!/usr/bin/env python3
"""Runs the programs on terminals, and cancels them.

Usage: terminal_test.py QVCOPY QVHASH
"""

import fcntl
import os
import pty
import re
import resource
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest
from pathlib import Path

QVCOPY, QVHASH = map(os.path.abspath, sys.argv[1:3])
MIB = 1 << 20
LIMIT = 60  # seconds, of which a machine under load may need many
FILE_LIMIT = 4 << 30  # of a copy that nothing cancels, so that it ends before the disk is full


ENDING = (signal.SIGHUP, signal.SIGINT, signal.SIGTERM)


def prepare():
    """What a program finds that a user's shell starts, whatever started this test."""
    for number in ENDING:
        signal.signal(number, signal.SIG_DFL)
    resource.setrlimit(resource.RLIMIT_FSIZE, (FILE_LIMIT, FILE_LIMIT))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def wait_until(condition, what):
    end = time.monotonic() + LIMIT
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"never {what}")
        time.sleep(0.005)


def catches(process, number):
    """Whether a process has a handler for a signal."""
    for line in Path(f"/proc/{process.pid}/status").read_text().splitlines():
        if line.startswith("SigCgt:"):
            return int(line.split()[1], 16) >> (number - 1) & 1 == 1
    return False


def writes_to(process, descriptor):
    """Whether a process waits in a call whose first argument is a descriptor."""
    call = Path(f"/proc/{process.pid}/syscall").read_text().split()
    return len(call) > 1 and call[1] == hex(descriptor)


def full_pipe():
    """The ends of a pipe that takes nothing more, and what it holds."""
    reader, writer = os.pipe()
    size = fcntl.fcntl(writer, fcntl.F_SETPIPE_SZ, 4096)
    filling = b"-" * size
    assert os.write(writer, filling) == size
    return reader, writer, filling


def screen(output):
    """The lines that a wide terminal shows after text, carriage returns and line breaks."""
    lines, at = [[]], 0
    for character in output.decode():
        if character == "\n":
            lines.append([])
            at = 0
        elif character == "\r":
            at = 0
        else:
            lines[-1][at:at + 1] = [character]
            at += 1
    return ["".join(line).rstrip() for line in lines]


class Terminal:
    """A terminal of its own, on which one program runs in the foreground."""

    def __init__(self, columns, *command, redirect=""):
        self.columns = columns
        self.output = b""
        self.pid, self.descriptor = pty.fork()
        if self.pid == 0:
            fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
            prepare()
            os.execv("/bin/sh", ["sh", "-c", f'exec "$@" {redirect}', "sh", *command])

    def type(self, text):
        os.write(self.descriptor, text)

    def read(self):
        """What came, or nothing at the end."""
        try:
            output = os.read(self.descriptor, 65536)
        except OSError:
            output = b""
        self.output += output
        return output

    def read_until(self, text):
        while text not in self.output:
            assert self.read(), f"no {text} in {self.output}"

    def end(self):
        """The exit status, once all that was shown is read."""
        while self.read():
            pass
        os.close(self.descriptor)
        return os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])

    def lines(self):
        """What is shown at the end. What is overwritten meanwhile must have stood on one line.

        Without the echo of Ctrl-C: the kernel signals first, so it may come before, in or after
        what the program writes then.
        """
        output = self.output.replace(b"^C", b"")
        for overwritten in re.findall(rb"\r([^\r\n]*)(?=\r[^\n])", output):
            assert len(overwritten) < max(self.columns, 2), overwritten
        return screen(output)


class OnATerminal(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.source = self.folder / "source"

    def make_source(self, size):
        with self.source.open("wb") as file:
            file.truncate(size)

    def test_progress_is_shown_and_taken_off(self):
        self.make_source(200 * MIB)
        digest = subprocess.run(["sha256sum", self.source], stdout=subprocess.PIPE, check=True)
        line = digest.stdout.decode().split()[0] + "  s"
        os.chdir(self.folder)
        os.rename("source", "s")
        for columns in (90, 200):
            copy = Terminal(columns, QVCOPY, "--force", "--verify", "sha256", "s", "c")
            self.assertEqual(copy.end(), 0)
            self.assertIn(b"%", copy.output)
            self.assertIn(b" of 200.00 MB", copy.output)
            self.assertEqual(copy.lines(), [line, line[:-1] + "c", ""])
            digests = Terminal(columns, QVHASH, "s", "c")
            self.assertEqual(digests.end(), 0)
            self.assertIn(b"%", digests.output)
            self.assertEqual(digests.lines(), [line, line[:-1] + "c", ""])

    def test_progress_fits_narrow_terminals(self):
        self.make_source(60 * MIB)
        for columns in (1, 2, 5, 10, 30, 50):
            copy = Terminal(columns, QVCOPY, "--force", self.source, self.folder / "copy")
            self.assertEqual(copy.end(), 0)
            self.assertEqual(copy.lines(), [""])

    def test_progress_is_not_redirected(self):
        self.make_source(60 * MIB)
        copy = Terminal(80, QVCOPY, "--verify", "md5", self.source, self.folder / "copy",
                        redirect=f"2>{self.folder}/error")
        self.assertEqual(copy.end(), 0)
        self.assertNotIn(b"%", copy.output)
        self.assertEqual((self.folder / "error").read_bytes(), b"")
        copy = Terminal(80, QVCOPY, "--verify", "md5", self.source, self.folder / "other copy",
                        redirect=f">{self.folder}/output")
        self.assertEqual(copy.end(), 0)
        self.assertIn(b"%", copy.output)
        self.assertEqual(copy.lines(), [""])
        self.assertNotIn(b"%", (self.folder / "output").read_bytes())

    def test_ctrl_c_cancels_and_leaves_a_clean_line(self):
        self.make_source(64 << 30)
        for columns in (40, 80):
            copy = Terminal(columns, QVCOPY, "--force", "--verify", "sha1", self.source,
                            self.folder / "copy")
            copy.read_until(b"/s")
            copy.type(b"\x03")
            self.assertEqual(copy.end(), 130)
            self.assertEqual(copy.lines(),
                             ["qvcopy: cancelled, the destinations are not whole", ""])
            self.assertLess((self.folder / "copy").stat().st_size, FILE_LIMIT)

    def test_ctrl_c_cancels_hashing(self):
        self.make_source(1 << 40)
        for algorithm in ("--md5", "--sha256"):
            digests = Terminal(80, QVHASH, algorithm, self.source, self.source)
            digests.read_until(b"/s")
            digests.type(b"\x03")
            self.assertEqual(digests.end(), 130)
            self.assertEqual(digests.lines(), ["qvhash: cancelled", ""])

    def test_the_background_is_silent(self):
        self.make_source(60 * MIB)
        shell = Terminal(80, "/bin/bash", "-mc", '"$0" "$1" "$1.copy" & wait', QVCOPY, self.source)
        self.assertEqual(shell.end(), 0)
        self.assertNotIn(b"%", shell.output)
        self.assertEqual(Path(f"{self.source}.copy").stat().st_size, 60 * MIB)


class Cancelling(unittest.TestCase):
    """Of a program that waits for somebody to read its output."""

    def start(self, set_up=prepare):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.file = Path(folder.name, "file")
        self.file.write_bytes(b"content")
        self.reader, writer, self.filling = full_pipe()
        self.addCleanup(os.close, self.reader)
        self.process = subprocess.Popen([QVHASH, self.file, self.file], stdout=writer,
                                        stderr=subprocess.PIPE, preexec_fn=set_up)
        os.close(writer)
        self.addCleanup(self.process.communicate)
        self.addCleanup(self.process.kill)
        wait_until(lambda: writes_to(self.process, 1), "blocked")

    def interrupt(self, number):
        self.process.send_signal(number)
        wait_until(lambda: not catches(self.process, number), "noted")

    def lines(self):
        """What the program wrote."""
        output = b""
        while read := os.read(self.reader, 65536):
            output += read
        self.assertTrue(output.startswith(self.filling))
        return output[len(self.filling):].decode().splitlines()

    def test_the_first_signal_is_noted(self):
        for number in ENDING:
            self.start()
            self.interrupt(number)
            self.assertEqual([line.split("  ")[1] for line in self.lines()], [str(self.file)])
            self.assertEqual(self.process.wait(timeout=LIMIT), 130)
            self.assertEqual(self.process.stderr.read(), b"qvhash: cancelled\n")

    def test_the_second_signal_ends_at_once(self):
        self.start()
        self.interrupt(signal.SIGINT)
        self.process.send_signal(signal.SIGINT)
        self.assertEqual(self.process.wait(timeout=LIMIT), -signal.SIGINT)

    def test_what_the_caller_ignores_stays_ignored(self):
        def set_up():
            prepare()
            signal.signal(signal.SIGHUP, signal.SIG_IGN)

        self.start(set_up)
        self.assertFalse(catches(self.process, signal.SIGHUP))
        self.process.send_signal(signal.SIGHUP)
        self.assertEqual(len(self.lines()), 2)
        self.assertEqual(self.process.wait(timeout=LIMIT), 0)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
