"""The password agent answers for the user whose password its parent knows, once, and for the
privileged helper alone. Runs as the world's user, who owns the agent.

Usage: password_agent_test.py AGENT [unreachable]
"""

import os
import socket
import subprocess
import sys
import time
import unittest

ACTION = "com.quorvane.privileged-helper"
OTHER_ACTION = "org.freedesktop.policykit.exec"
ADMINISTRATOR = os.environ["WORLD_ADMINISTRATOR"]
PASSWORD = os.environ["WORLD_ADMINISTRATOR_PASSWORD"]
GRANTED, REFUSED, CANCELLED = 0, 1, 3  # the statuses of pkcheck


class Agent:
    """An agent that answers for this process."""

    def __init__(self):
        ours, theirs = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        self.socket = ours
        self.socket.settimeout(60)
        self.process = subprocess.Popen([AGENT], stdin=theirs, stdout=subprocess.DEVNULL)
        theirs.close()

    def __enter__(self):
        if self.socket.recv(16) != b"R":
            raise AssertionError("the agent did not register")
        return self

    def __exit__(self, *_):
        self.end()

    def know(self, user, password):
        self.socket.send(user.encode() + b"\0" + password.encode() + b"\0")

    def end(self):
        """Closes the connection; answers the agent's exit status."""
        self.socket.close()
        return self.process.wait(60)


def ask(action=ACTION):
    """Has polkit ask for an administrator for this process."""
    return subprocess.run(
        ["pkcheck", "--action-id", action, "--process", str(os.getpid()),
         "--allow-user-interaction"],
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=60, check=False).returncode


class PasswordAgentTest(unittest.TestCase):
    def asked_with(self, user, password):
        with Agent() as agent:
            agent.know(user, password)
            status = ask()
            self.assertEqual(agent.end(), 0)
        return status

    def test_right_password_is_granted(self):
        self.assertEqual(self.asked_with(ADMINISTRATOR, PASSWORD), GRANTED)

    def test_wrong_password_is_refused(self):
        self.assertEqual(self.asked_with(ADMINISTRATOR, PASSWORD + "x"), REFUSED)
        self.assertEqual(self.asked_with(ADMINISTRATOR, ""), REFUSED)

    def test_user_who_cannot_administer_is_not_asked(self):
        self.assertEqual(self.asked_with(os.environ["WORLD_USER"],
                                         os.environ["WORLD_USER_PASSWORD"]), CANCELLED)
        self.assertEqual(self.asked_with(os.environ["WORLD_COLLEAGUE"],
                                         os.environ["WORLD_COLLEAGUE_PASSWORD"]), CANCELLED)
        self.assertEqual(self.asked_with("nobody-of-this-name", PASSWORD), CANCELLED)

    def test_second_authentication_is_cancelled(self):
        with Agent() as agent:
            agent.know(ADMINISTRATOR, PASSWORD)
            self.assertEqual(ask(), GRANTED)
            self.assertEqual(ask(), CANCELLED)

    def test_other_actions_are_cancelled(self):
        with Agent() as agent:
            agent.know(ADMINISTRATOR, PASSWORD)
            self.assertEqual(ask(OTHER_ACTION), CANCELLED)
            self.assertEqual(ask(), GRANTED)

    def test_without_a_password_it_cancels(self):
        with Agent() as agent:
            self.assertEqual(ask(), CANCELLED)
            agent.know(ADMINISTRATOR, PASSWORD)
            self.assertEqual(ask(), GRANTED)

    def test_nobody_answers_once_it_has_ended(self):
        self.assertEqual(self.asked_with(ADMINISTRATOR, PASSWORD), GRANTED)
        self.assertNotEqual(ask(), GRANTED)

    def test_malformed_messages_end_it(self):
        for message in (b"\0", b"berta", b"berta\0", b"berta\0secret", b"\0secret\0",
                        b"berta\0se\0cret\0", b"b" * 2000 + b"\0" + b"s" * 2100 + b"\0"):
            with Agent() as agent:
                agent.socket.send(message)
                self.assertEqual(agent.process.wait(60), 1, message)

    def test_longest_message_is_taken(self):
        with Agent() as agent:
            agent.know("b" * 2046, "s" * 2048)
            self.assertEqual(ask(), CANCELLED)
            self.assertEqual(agent.end(), 0)

    def test_second_message_ends_it(self):
        with Agent() as agent:
            agent.know(ADMINISTRATOR, PASSWORD)
            agent.know(ADMINISTRATOR, PASSWORD)
            self.assertEqual(agent.process.wait(60), 1)

    def test_closing_early_ends_it(self):
        with Agent() as agent:
            self.assertEqual(agent.end(), 1)

    def test_it_cannot_be_looked_into(self):
        with Agent() as agent:
            agent.know(ADMINISTRATOR, PASSWORD)
            self.assertEqual(os.stat(f"/proc/{agent.process.pid}/mem").st_uid, 0)
            with self.assertRaises(PermissionError):
                os.listdir(f"/proc/{agent.process.pid}/fd")

    def test_it_answers_only_for_the_maker_of_its_socket(self):
        """Whoever was passed a socket does not become the one who is answered for."""
        ours, theirs = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        between = subprocess.Popen(["sh", "-c", '"$0"; exit $?', AGENT], stdin=theirs)
        theirs.close()
        self.assertEqual((ours.recv(16), between.wait(60)), (b"", 1))
        ours.close()


class UnreachableTest(unittest.TestCase):
    def test_it_gives_up_without_a_word(self):
        start = time.monotonic()
        agent = Agent()
        self.assertEqual(agent.socket.recv(16), b"")
        self.assertEqual(agent.end(), 1)
        self.assertLess(time.monotonic() - start, 30)


if __name__ == "__main__":
    AGENT = sys.argv[1]
    wanted = "UnreachableTest" if "unreachable" in sys.argv else "PasswordAgentTest"
    unittest.main(argv=[sys.argv[0], wanted])
