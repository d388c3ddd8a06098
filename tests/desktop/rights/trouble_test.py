"""What becomes of a question when polkit, the bus or the dialog go while the user is being asked.

usage: trouble_test.py CLIENT AGENT     (as the superuser of a private world)
"""

import ctypes
import os
import select
import signal
import sys
import time
import unittest

from clients import ADMINISTRATOR, AGENT, DENIED, GRANTED, HELPER, INTERNAL, PASSWORDS, PKEXEC, \
    PROVERS, ServiceClient, notes, processes, wait_until, with_agent
from administration import Administration

# Of ptrace: stop a single thread.
SEIZE, INTERRUPT = 0x4206, 0x4207
# How long a system that does not answer may keep the client, in seconds.
LIMIT = 45
# The same for one that looks at a password.
PASSWORD_LIMIT = 90


def left():
    """What still runs of ours. What the dialog has started is the desktop's."""
    return [pid for program in (PKEXEC, HELPER, AGENT) for pid in processes(program)]


class TroubleWhileAsking(unittest.TestCase):
    def setUp(self):
        self.administration = Administration().__enter__()
        self.addCleanup(self.administration.__exit__)
        self.polkit = self.administration.polkit_process
        self.bus = self.administration.bus_process

    def holding(self):
        """A client whose user is looking at the dialog."""
        client = with_agent("--hold")
        self.addCleanup(client.__exit__)
        client.order("start")
        wait_until(lambda: notes() == ["asked"])
        return client

    def answer(self, client, limit=LIMIT):
        ready, _, _ = select.select([client.process.stdout], [], [], limit)
        if not ready:
            client.process.kill()
            self.fail(f"the client still waits after {limit} s")
        return int(client.answer()[0])

    def check_fails(self, client, limit=LIMIT):
        self.assertIn(self.answer(client, limit), (DENIED, INTERNAL))
        wait_until(lambda: not left(), 10)

    def check_nothing_comes_of_it_later(self):
        """Once polkit is itself again, it asks nobody, and starts nothing."""
        self.polkit.send_signal(signal.SIGCONT)
        wait_until(lambda: notes().count("asked") == notes().count("cancelled"))
        time.sleep(1)
        self.assertEqual(notes().count("asked"), notes().count("cancelled"))
        self.assertEqual(left(), [])
        with with_agent("--user", ADMINISTRATOR, "--password",
                        PASSWORDS[ADMINISTRATOR]) as client:
            client.order("start")
            self.assertEqual(self.answer(client), GRANTED)

    def test_polkit_stops_while_the_dialog_is_up(self):
        client = self.holding()
        self.polkit.send_signal(signal.SIGSTOP)
        self.check_fails(client)
        self.check_nothing_comes_of_it_later()

    def test_polkit_stops_before_it_is_asked(self):
        client = with_agent("--hold")
        self.addCleanup(client.__exit__)
        client.order("start")
        wait_until(lambda: processes(PKEXEC))
        self.polkit.send_signal(signal.SIGSTOP)
        self.check_fails(client)
        self.check_nothing_comes_of_it_later()

    def test_polkit_stops_while_a_password_is_looked_at(self):
        client = ServiceClient()
        self.addCleanup(client.__exit__)
        client.order("login", ADMINISTRATOR, "wrong")  # which takes the system longer
        wait_until(lambda: any(map(processes, PROVERS)))
        self.polkit.send_signal(signal.SIGSTOP)
        self.check_fails(client)
        wait_until(lambda: not any(map(processes, PROVERS)), 10)
        self.polkit.send_signal(signal.SIGCONT)
        time.sleep(1)
        self.assertEqual(left(), [])

    def test_what_looks_at_a_password_stops(self):
        client = ServiceClient()
        self.addCleanup(client.__exit__)
        client.order("login", ADMINISTRATOR, "wrong")
        wait_until(lambda: any(map(processes, PROVERS)))
        provers = [pid for program in PROVERS for pid in processes(program)]
        for pid in provers:
            os.kill(pid, signal.SIGSTOP)
        self.check_fails(client, PASSWORD_LIMIT)
        for pid in provers:
            os.kill(pid, signal.SIGCONT)
        wait_until(lambda: not any(map(processes, PROVERS)), 10)
        self.assertEqual(left(), [])

    def test_polkit_that_is_stuck_is_not_asked(self):
        """Though its connection to the bus, on a thread of its own, answers what it can."""
        with with_agent("--hold") as client:
            client.ask("free")  # the dialog is ready to ask
            libc = ctypes.CDLL(None, use_errno=True)
            self.assertEqual(libc.ptrace(SEIZE, self.polkit.pid, None, None), 0)
            self.assertEqual(libc.ptrace(INTERRUPT, self.polkit.pid, None, None), 0)
            client.order("start")
            self.assertEqual(self.answer(client), INTERNAL)
        self.assertEqual(notes(), [])
        wait_until(lambda: not left(), 10)

    def test_polkit_dies_while_the_dialog_is_up(self):
        client = self.holding()
        self.polkit.kill()
        self.polkit.wait()
        self.check_fails(client)
        self.administration.start_polkit()
        with ServiceClient() as another:
            self.assertEqual(another.login(ADMINISTRATOR), GRANTED)

    def test_the_bus_dies_while_the_dialog_is_up(self):
        client = self.holding()
        self.bus.kill()
        self.bus.wait()
        self.check_fails(client)

    def test_the_bus_stops_while_the_dialog_is_up(self):
        client = self.holding()
        self.bus.send_signal(signal.SIGSTOP)
        self.check_fails(client)

    def test_the_dialog_dies(self):
        client = self.holding()
        (dialog,) = processes(os.path.realpath(ServiceClient.agent))
        os.kill(dialog, signal.SIGKILL)
        self.check_fails(client)

    def test_the_user_may_think_as_long_as_polkit_answers(self):
        """Even if it is slow at times."""
        client = self.holding()
        self.polkit.send_signal(signal.SIGSTOP)
        time.sleep(9)
        self.polkit.send_signal(signal.SIGCONT)
        time.sleep(6)
        self.assertEqual(select.select([client.process.stdout], [], [], 0)[0], [])
        self.assertEqual(notes(), ["asked"])
        self.assertEqual(len(processes(PKEXEC)), 1)
        client.process.kill()
        client.process.wait()
        wait_until(lambda: not left())


if __name__ == "__main__":
    ServiceClient.program, ServiceClient.agent = sys.argv[1:3]
    unittest.main(argv=sys.argv[:1], verbosity=2)
