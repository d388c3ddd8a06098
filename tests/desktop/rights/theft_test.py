"""Another program of the user tries to steal the administrator's password on its way.

usage: theft_test.py CLIENT THIEF     (as the superuser of a private world)
"""

import os
import shutil
import subprocess
import sys
import unittest

from clients import ADMINISTRATOR, AGENT, GRANTED, PASSWORDS, ServiceClient, WithAdministration
from session import as_user

TRIES = 40

# Sends a secret to a child as the service does, but without care.
CARELESS = """
import socket, subprocess, sys, time
ours, theirs = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
with subprocess.Popen([sys.argv[1]], stdin=theirs, stdout=subprocess.DEVNULL):
    theirs.close()
    time.sleep(0.05)
    ours.send(b"secret")
    time.sleep(0.05)
    ours.close()
"""

# What an agent says before it takes anything.
READY = """
import socket, subprocess, sys
ours, theirs = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
with subprocess.Popen([sys.argv[1]], stdin=theirs):
    theirs.close()
    print(ours.recv(16).decode(), end="", flush=True)
    ours.close()
"""

# Asks every password agent on the system bus to authenticate somebody for a cookie of its own, until
# its standard input is closed.
ASKER = """
import os, select, sys
from gi.repository import Gio, GLib
bus = Gio.bus_get_sync(Gio.BusType.SYSTEM)
question = GLib.Variant.new_tuple(
    *(GLib.Variant("s", text) for text in ("com.quorvane.privileged-helper", "", "")),
    GLib.Variant("a{ss}", {}), GLib.Variant("s", "cookie"),
    GLib.Variant("a(sa{sv})", [("unix-user", {"uid": GLib.Variant("u", os.getuid())})]))
def call(method, arguments):
    return bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                         method, arguments, None, 0, 1000).unpack()[0]
def is_agent(name):
    try:
        process = call("GetConnectionUnixProcessID", GLib.Variant("(s)", (name,)))
        with open(f"/proc/{process}/comm") as file:
            return file.read() == "password-agent\\n"
    except (GLib.Error, OSError):
        return False
asked = refused = 0
print("ready", flush=True)
while not select.select([sys.stdin], [], [], 0)[0]:
    for name in filter(is_agent, call("ListNames", None)):
        try:
            bus.call_sync(name, "/org/freedesktop/PolicyKit1/AuthenticationAgent",
                          "org.freedesktop.PolicyKit1.AuthenticationAgent", "BeginAuthentication",
                          question, None, 0, 1000)
            asked += 1
        except GLib.Error as error:
            what = Gio.DBusError.get_remote_error(error)
            refused += what == "org.freedesktop.DBus.Error.AccessDenied"
            # Those that have gone meanwhile were not asked.
            asked += what != "org.freedesktop.DBus.Error.ServiceUnknown"
print(asked, refused)
"""


class Thief:
    """A thief at work; afterwards, what it tried and got."""

    def __init__(self, wanted):
        self.process = subprocess.Popen(as_user([PROGRAM, os.path.basename(wanted)]),
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.seen, self.means, self.loot = 0, {}, []

    def __enter__(self):
        if self.process.stdout.readline() != b"ready\n":
            raise AssertionError("the thief does not work")
        return self

    def __exit__(self, *_):
        report, _ = self.process.communicate()
        for line in report.decode().splitlines():
            words = line.split()
            if words[0] == "seen":
                self.seen = int(words[1])
            elif words[0] == "loot":
                self.loot.append(bytes.fromhex(words[1]))
            else:
                self.means[words[0]] = tuple(map(int, words[1:]))


class Theft(WithAdministration):
    def test_the_password_is_not_stolen(self):
        with Thief(AGENT) as thief:
            for _ in range(TRIES):
                with ServiceClient() as client:
                    self.assertEqual(client.login(ADMINISTRATOR), GRANTED)
        self.assertEqual([message for message in thief.loot
                          if PASSWORDS[ADMINISTRATOR].encode() in message], [])
        self.assertGreaterEqual(thief.seen, TRIES)
        for means, (tried, refused, succeeded) in thief.means.items():
            self.assertEqual(succeeded, 0, means)
            self.assertGreaterEqual(refused, TRIES, means)
            self.assertGreaterEqual(tried, refused, means)

    def test_the_users_settings_do_not_choose_the_bus(self):
        """On a bus of their own, somebody could pass for polkit and have the agent answer another
        question."""
        with ServiceClient(DBUS_SYSTEM_BUS_ADDRESS="unix:path=/nowhere") as client:
            self.assertEqual(client.login(ADMINISTRATOR), GRANTED)

    def test_an_agent_that_can_be_read_takes_nothing(self):
        """A thief has time to get hold of it before it can shield itself."""
        copy = shutil.copy(AGENT, self.folder)
        for mode, ready in ((0o755, b""), (0o711, b"R")):
            os.chmod(copy, mode)
            shown = subprocess.run(as_user([sys.executable, "-c", READY, copy]), check=True,
                                   capture_output=True)
            self.assertEqual(shown.stdout, ready)

    def test_only_polkit_may_put_it_a_question(self):
        """Or another question's cookie would be answered with the password."""
        with ServiceClient() as client:
            asker = subprocess.Popen(as_user([sys.executable, "-c", ASKER]), stdin=subprocess.PIPE,
                                     stdout=subprocess.PIPE)
            self.assertEqual(asker.stdout.readline(), b"ready\n")
            for _ in range(5):
                self.assertEqual(client.login(ADMINISTRATOR), GRANTED)
            report, _ = asker.communicate()
        asked, refused = map(int, report.split())
        self.assertGreater(asked, 0)
        self.assertEqual(refused, asked)

    def test_the_thief_can_rob_others(self):
        """Else the test above would prove nothing."""
        victim = self.folder + "/" + os.path.basename(AGENT)
        shutil.copy("/usr/bin/cat", victim)
        with Thief(victim) as thief:
            for _ in range(TRIES):
                subprocess.run(as_user([sys.executable, "-c", CARELESS, victim]), check=True)
        self.assertGreater(thief.seen, 0)
        self.assertIn(b"secret", thief.loot)
        for means, (_, _, succeeded) in thief.means.items():
            self.assertGreater(succeeded, 0, means)


if __name__ == "__main__":
    ServiceClient.program, PROGRAM = sys.argv[1:3]
    unittest.main(argv=sys.argv[:1], verbosity=2)
