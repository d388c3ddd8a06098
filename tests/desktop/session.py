"""The user's desktop session in this world: processes under the user's name, a bus, a display."""

import json
import os
import subprocess

USER = os.environ["WORLD_USER"]
UID = int(os.environ["WORLD_UID"])
HERE = os.path.dirname(os.path.abspath(__file__))
# Where the hand, the stand-in for killall and the rehearsal leave each other notes.
NOTES = "/run/rehearsal"


def begin_notes():
    """Makes the folder of notes for a run in which nothing has to quit first."""
    os.makedirs(NOTES, exist_ok=True)
    os.chmod(NOTES, 0o777)
    with open(NOTES + "/release", "w", encoding="ascii"):
        pass


def as_user(command, **environment):
    """The command line that runs a command as the user, in a fresh environment."""
    settings = {"PATH": "/usr/bin:/bin:/usr/sbin:/sbin", "HOME": "/Users/" + USER, "USER": USER,
                "LOGNAME": USER, "LANG": "C.UTF-8", "XDG_RUNTIME_DIR": f"/run/user/{UID}",
                "PYTHONDONTWRITEBYTECODE": "1", **environment}
    clean = ["env", "-i"] + [f"{name}={value}" for name, value in settings.items()]
    if os.geteuid() != 0:
        return clean + list(command)
    identity = ["setpriv", f"--reuid={UID}", f"--regid={UID}", "--init-groups"]
    return identity + clean + list(command)


def in_session(command, **environment):
    """The same, with a session bus of its own."""
    return as_user(["dbus-run-session", "--", *command], **environment)


class VirtualDisplay:
    """A screen that nobody sees, for as long as the `with` block lasts."""

    def __enter__(self):
        reading, writing = os.pipe()
        self.server = subprocess.Popen(
            as_user(["Xvfb", "-displayfd", str(writing), "-screen", "0", "800x600x24",
                     "-nolisten", "tcp", "-noreset"]),
            pass_fds=[writing], stderr=subprocess.DEVNULL)
        os.close(writing)
        with os.fdopen(reading) as answer:
            number = answer.readline().strip()
        if not number:
            raise SystemExit("the virtual display did not start")
        self.settings = {"DISPLAY": ":" + number, "QT_QPA_PLATFORM": "xcb",
                         "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}
        return self

    def __exit__(self, *_):
        self.server.terminate()
        self.server.wait()

    def work(self, command, options, cancel=False, password="", pictures="", patience=60):
        """Has the program worked by the hand, which gives the password if it has one; answers what
        the hand saw."""
        release = NOTES + "/release"
        if os.path.exists(release):
            os.unlink(release)
        plan = {"command": command, "options": sorted(options), "cancel": cancel,
                "password": password, "pictures": pictures, "patience": patience,
                "release": release, "report": NOTES + "/report"}
        with open(NOTES + "/session.log", "w+", encoding="utf-8", errors="replace") as log:
            run = subprocess.run(
                in_session(["/usr/bin/python3", HERE + "/hand.py", json.dumps(plan)],
                           **self.settings),
                stdin=subprocess.DEVNULL, stdout=log, stderr=log, check=False)
            if run.returncode != 0:
                log.seek(0)
                raise SystemExit(f"{log.read()}\nthe run broke off ({run.returncode})")
        with open(plan["report"], encoding="ascii") as report:
            return json.load(report)
