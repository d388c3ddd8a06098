"""What a desktop needs to ask for an administrator: the system bus, and polkit on it.

As a command, `administration.py [--no-bus|--no-polkit|--hung-polkit] COMMAND...` runs the command
as the world's user with both running, and ends with its exit status.
"""

import argparse
import os
import re
import signal
import subprocess
import sys
import time

from gi.repository import Gio, GLib

from session import as_user

BUS_CONFIGURATION = "/usr/share/dbus-1/system.conf"
OWN_CONFIGURATION = "/run/dbus/system.conf"
POLKIT = "org.freedesktop.PolicyKit1"
POLKIT_DAEMONS = ("/usr/lib/polkit-1/polkitd", "/usr/libexec/polkitd",
                  "/usr/libexec/polkit-1/polkitd")
PATIENCE = 20


class Administration:
    """The bus and polkit, for as long as the `with` block lasts. `polkit` is "" for none of it,
    "hung" for one that does not answer any more."""

    def __init__(self, bus=True, polkit="running"):
        self.bus, self.polkit = bus, polkit
        self.started = []
        self.bus_process = self.polkit_process = None

    def __enter__(self):
        try:
            if self.bus:
                self._start_bus()
                if self.polkit:
                    self.start_polkit()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        for process in reversed(self.started):
            process.kill()
            process.wait()

    def _start(self, command, **settings):
        # In a group of its own, so that a key pressed to end the run does not end it first.
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL, process_group=0, **settings)
        self.started.append(process)
        return process

    def _start_bus(self):
        _write_bus_configuration()
        reading, writing = os.pipe()
        self.bus_process = self._start(
            ["dbus-daemon", "--config-file=" + OWN_CONFIGURATION, "--nofork",
             f"--print-address={writing}"], pass_fds=[writing])
        os.close(writing)
        with os.fdopen(reading) as answer:
            if not answer.readline():
                raise SystemExit("the system bus did not start")

    def start_polkit(self):
        """Starts it, anew where it has ended."""
        daemon = next(filter(os.path.exists, POLKIT_DAEMONS), None)
        if not daemon:
            raise SystemExit("polkit is not installed")
        process = self.polkit_process = self._start([daemon, "--no-debug"])
        deadline = time.monotonic() + PATIENCE
        bus = Gio.bus_get_sync(Gio.BusType.SYSTEM)
        while not _answers(bus):
            if process.poll() is not None or time.monotonic() > deadline:
                raise SystemExit("polkit did not start")
            time.sleep(0.01)
        if self.polkit == "hung":
            process.send_signal(signal.SIGSTOP)


def _write_bus_configuration():
    """The machine's rules, without its services: what nobody here started does not start."""
    with open(BUS_CONFIGURATION, encoding="utf-8") as file:
        rules = file.read()
    for element in ("fork", "pidfile", "servicehelper", "standard_system_servicedirs", "syslog"):
        rules = re.sub(rf"<{element}/>|<{element}>.*?</{element}>", "", rules)
    rules = rules.replace("<includedir>system.d<", "<includedir>/usr/share/dbus-1/system.d<")
    with open(OWN_CONFIGURATION, "w", encoding="utf-8") as file:
        file.write(rules)


def _answers(bus):
    try:
        bus.call_sync(POLKIT, "/org/freedesktop/PolicyKit1/Authority",
                      "org.freedesktop.DBus.Peer", "Ping", None, None,
                      Gio.DBusCallFlags.NO_AUTO_START, PATIENCE * 1000)
        return True
    except GLib.Error:
        return False


def people():
    """The settings that tell a command who lives in this world."""
    return {name: value for name, value in os.environ.items() if name.startswith("WORLD_")}


def _run(command):
    """Runs the command and buries whatever it leaves behind, as the first process of a machine
    does; answers its exit status."""
    process = subprocess.Popen(as_user(command, **people()))
    while True:
        ended, status = os.wait()
        if ended == process.pid:
            code = os.waitstatus_to_exitcode(status)
            return code if code >= 0 else 128 - code


def main():
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    parser = argparse.ArgumentParser(description=__doc__)
    lack = parser.add_mutually_exclusive_group()
    lack.add_argument("--no-bus", action="store_true")
    lack.add_argument("--no-polkit", action="store_true")
    lack.add_argument("--hung-polkit", action="store_true")
    parser.add_argument("command", nargs=argparse.REMAINDER)
    wanted = parser.parse_args()
    polkit = "" if wanted.no_polkit else "hung" if wanted.hung_polkit else "running"
    with Administration(not wanted.no_bus, polkit):
        return _run(wanted.command)


if __name__ == "__main__":
    sys.exit(main())
