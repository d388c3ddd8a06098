"""Rehearses an uninstall in a private world and checks the outcome. Runs as that world's superuser.

The last line says how it went; the exit status is 0 only if everything is as it must be.
"""

import argparse
import os
import shutil
import signal
import subprocess
import sys
import threading
import time
from contextlib import nullcontext

import asking
import catalogue
import restoring
import sample_installation
from administration import Administration
from outcome import Outcome, chosen_options, world
from running_tools import RunningTools
from session import NOTES, UID, VirtualDisplay, in_session

SKIPPED = 77


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--program", required=True, help="the uninstaller")
    parser.add_argument("--headless", action="store_true",
                        help="press the buttons on a virtual display instead of asking the user")
    parser.add_argument("--shared", action="store_true",
                        help="tick the option for shared components")
    parser.add_argument("--config", action="store_true",
                        help="tick the option for preference files")
    parser.add_argument("--cancel", action="store_true", help="press Cancel instead")
    parser.add_argument("--root-owned", action="store_true",
                        help="the machine-wide half belongs to the superuser, and nobody asks for "
                        "an administrator")
    parser.add_argument("--rights", default="", metavar="AGENT",
                        help="the machine-wide half belongs to the superuser, and this desktop "
                        "agent asks for an administrator")
    parser.add_argument("--refuse", action="store_true", help="who then always presses Cancel")
    parser.add_argument("--again", action="store_true", help="uninstall a second time")
    parser.add_argument("--restore", action="store_true",
                        help="put everything back from the Trash with the desktop's own tools")
    parser.add_argument("--memory", type=int, metavar="MIB", help="the most memory it may take")
    parser.add_argument("--pictures", default="", metavar="FOLDER")
    return parser.parse_args()


class Rehearsal:
    def __init__(self, wanted):
        self.wanted = wanted
        self.options = {name for name in ("shared", "config") if getattr(wanted, name)}
        self.problems = []
        machine_owner = 0 if wanted.root_owned or wanted.rights else UID
        self.items = sample_installation.install(UID, machine_owner)
        os.makedirs(NOTES, exist_ok=True)
        os.chmod(NOTES, 0o777)
        self.command = [wanted.program]
        if wanted.rights:
            refusal = ["--cancel"] if wanted.refuse else []
            self.command = asking.asked(wanted.rights, wanted.program, *refusal)

    def run(self):
        tools = RunningTools()
        try:
            before = world()
            with Administration() if self.wanted.rights else nullcontext():
                options = self._headless() if self.wanted.headless else self._with_the_user()
            outcome = Outcome(self.items, before, options, self._rights())
            self.problems += tools.problems(asked_to_quit=options is not None)
            if options is not None:
                self._check_names_asked_to_quit()
            if self.wanted.refuse and asking.answers() != ["cancelled"]:
                self.problems.append(f"the user was asked {len(asking.answers())} times, not once")
            if self.wanted.restore:
                self.problems += restoring.problems(outcome)
        finally:
            tools.end()
        outcome.print()
        for problem in self.problems:
            print("WRONG  " + problem)
        print(outcome.last_line() + self._told_of_rights(outcome))
        return outcome.holds() and not self.problems

    def _rights(self):
        """Whether the machine-wide half could be moved: "yes", "no", or "partly" if the user said
        one thing and then the other."""
        if not self.wanted.rights:
            return "no" if self.wanted.root_owned else "yes"
        answers = set(asking.answers())
        return "partly" if len(answers) > 1 else "yes" if answers == {"granted"} else "no"

    def _told_of_rights(self, outcome):
        if not self.wanted.rights:
            return ""
        if self.wanted.refuse:
            return f", questions for a password: {len(asking.answers())}, all refused"
        granted = asking.answers().count("granted")
        moved = sum(1 for item, state in outcome.state.items()
                    if item.machine_wide and state == "trashed")
        return f", {moved} moved with administrator rights, authentications: {granted}"

    def _headless(self):
        with VirtualDisplay() as display:
            self._work(display, self.wanted.cancel)
            if self.wanted.again:
                self._uninstall_again(display)
        return None if self.wanted.cancel else self.options

    def _work(self, display, cancel=False):
        pictures = NOTES if self.wanted.pictures else ""
        asks = self.wanted.rights and not self.wanted.refuse and not asking.answers()
        password = os.environ["WORLD_ADMINISTRATOR_PASSWORD"] if asks else ""
        saw = display.work(self.command, self.options, cancel, password, pictures)
        if saw["status"] != 0:
            self.problems.append(f"the program's exit status is {saw['status']}")
        print(f"peak memory: {saw['memory'] / 1024:.1f} MiB")
        if self.wanted.memory and saw["memory"] > self.wanted.memory * 1024:
            self.problems.append(f"that is more than {self.wanted.memory} MiB")
        for name in ("main", "progress", "password", "alert"):
            picture = f"{NOTES}/{name}.png"
            if os.path.exists(picture):
                self._hand_out(picture)

    def _hand_out(self, picture):
        """Leaves a picture to whoever owns the folder for them."""
        folder = self.wanted.pictures
        place = shutil.copy(picture, folder)
        os.chown(place, os.stat(folder).st_uid, os.stat(folder).st_gid)

    def _uninstall_again(self, display):
        emptied = world()
        self._work(display)
        after = world()
        changed = [path for path in emptied | after if emptied.get(path) != after.get(path)
                   and not path.startswith(sample_installation.HOME + "/.")]
        self.problems += [f"the second run changed {path!a}" for path in changed]

    def _with_the_user(self):
        """The user works the windows; what they chose shows in what is gone."""
        if self.wanted.rights:
            print("When it asks for the password of {WORLD_ADMINISTRATOR}, type  "
                  "{WORLD_ADMINISTRATOR_PASSWORD}".format(**os.environ))
        threading.Thread(target=_let_progress_be_seen, daemon=True).start()
        screen = {name: os.environ[name] for name in ("DISPLAY", "XAUTHORITY", "WAYLAND_DISPLAY")
                  if name in os.environ}
        with open(NOTES + "/session.log", "w", encoding="utf-8") as log:
            status = subprocess.run(in_session(self.command, **screen), check=False,
                                    stdout=log, stderr=log).returncode
        if status != 0:
            self.problems.append(f"the program's exit status is {status}")
        return chosen_options(self.items)

    def _check_names_asked_to_quit(self):
        with open(NOTES + "/asked", encoding="utf-8") as file:
            if tuple(file.read().splitlines()) != catalogue.TOOLS:
                self.problems.append("other tools were asked to quit than those of the suite")


def _let_progress_be_seen():
    """An uninstall of files this small would be over before the progress window shows."""
    while not os.path.exists(NOTES + "/asked"):
        time.sleep(0.05)
    time.sleep(1.5)
    with open(NOTES + "/release", "x", encoding="ascii"):
        pass


def main():
    # The first process of a world ignores what it does not handle.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    sys.stdout.reconfigure(line_buffering=True)
    wanted = arguments()
    if (wanted.root_owned or wanted.rights) and "WORLD_ADMINISTRATOR" not in os.environ:
        print("skipped: this world has no superuser")
        return SKIPPED
    try:
        return 0 if Rehearsal(wanted).run() else 1
    except KeyboardInterrupt:
        return 130


if __name__ == "__main__":
    sys.exit(main())
