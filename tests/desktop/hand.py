"""The user's hand: starts the program and works its windows by their accessible names.

Runs as the user, inside a desktop session. Takes a plan as JSON, and leaves what it saw
as JSON in the file that the plan names.
"""

import json
import os
import subprocess
import sys
import time

import pyatspi
from gi.repository import GLib


class Hand:
    def __init__(self, plan):
        self.plan = plan
        self.deadline = time.monotonic() + plan["patience"]
        self.program = subprocess.Popen(plan["command"])

    def _wait(self, what, question):
        while time.monotonic() < self.deadline:
            try:
                answer = question()
                if answer:
                    return answer
            except (GLib.GError, LookupError):
                pass  # the window changed while it was read
            if self.program.poll() is not None:
                raise SystemExit(f"the program ended with {self.program.returncode} before {what}")
            time.sleep(0.02)
        raise SystemExit(f"no {what} in time")

    def _windows(self, own):
        for application in pyatspi.Registry.getDesktop(0):
            if application and own == (application.get_process_id() == self.program.pid):
                yield from (window for window in application if window and _shows(window))

    def window(self, what, having, own=True):
        """The window that shows and holds a part for which `having` is true: one of the program's
        own, or one of others."""
        return self._wait(what, lambda: next(
            (window for window in self._windows(own) if any(map(having, parts(window)))), None))

    def gone(self, what, having, own=True):
        self._wait(f"end of {what}", lambda: not any(
            any(map(having, parts(window))) for window in self._windows(own)))

    def press(self, window, name):
        for part in parts(window):
            if part.getRole() in BUTTONS and part.name == name:
                part.queryAction().doAction(0)
                return part
        raise SystemExit(f"no {name!r} in {window.name!r}: {[part.name for part in parts(window)]}")

    def tick(self, window, word):
        boxes = [part for part in parts(window) if part.getRole() == pyatspi.ROLE_CHECK_BOX]
        box = next(box for box in boxes if word in box.name.lower())
        box.queryAction().doAction(0)
        self._wait(f"tick at {box.name}", lambda: _has(box, pyatspi.STATE_CHECKED))

    def picture(self, window, name):
        if not self.plan["pictures"]:
            return
        time.sleep(0.4)  # the window has been announced; let it be painted too
        place = window.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
        crop = f"{place.width}x{place.height}{place.x:+}{place.y:+}"
        subprocess.run(["import", "-window", "root", "-crop", crop, "+repage",
                        f"{self.plan['pictures']}/{name}.png"], check=True)

    def peak_memory(self):
        """The most memory that the program has held so far, in KiB."""
        with open(f"/proc/{self.program.pid}/status", encoding="ascii") as status:
            return next(int(line.split()[1]) for line in status if line.startswith("VmHWM:"))

    def run(self):
        saw = {}
        main = self.window("main window", is_button("Uninstall"))
        for option in self.plan["options"]:
            self.tick(main, {"shared": "shared", "config": "preference"}[option])
        self.picture(main, "main")
        if self.plan["cancel"]:
            saw["memory"] = self.peak_memory()
            self.press(main, "Cancel")
        else:
            self.press(main, "Uninstall")
            self._see_progress()
            if self.plan["password"]:
                self._give_password()
            self._see_alert(saw)
        saw["status"] = self.program.wait(self.plan["patience"])
        return saw

    def _see_progress(self):
        progress = self.window("progress window", is_progress_bar)
        self.gone("main window", is_button("Uninstall"))
        if any(part.getRole() in BUTTONS for part in parts(progress)):
            raise SystemExit("the progress window has a button")
        self.picture(progress, "progress")
        # The program is held at its first step until it has been seen to be busy.
        with open(self.plan["release"], "x", encoding="ascii"):
            pass

    def _give_password(self):
        dialog = self.window("question for the password", is_password, own=False)
        if dialog.name != "Authentication":
            raise SystemExit(f"a window {dialog.name!r} asks for a password")
        entry = next(filter(is_password, parts(dialog)))
        entry.queryEditableText().setTextContents(self.plan["password"])
        self.picture(dialog, "password")
        self.press(dialog, "OK")
        self.gone("question for the password", is_password, own=False)

    def _see_alert(self, saw):
        text = "Items have been placed in your Trash."
        alert = self.window("alert", lambda part: part.name == text)
        names = [part.name for part in parts(alert)]
        if "Uninstall complete" not in names:
            raise SystemExit(f"the alert lacks its title: {names}")
        buttons = [part.name for part in parts(alert) if part.getRole() in BUTTONS]
        if len(buttons) != 1:
            raise SystemExit(f"the alert has other buttons than one: {buttons}")
        self.gone("progress window", is_progress_bar)
        self.picture(alert, "alert")
        saw["memory"] = self.peak_memory()
        self.press(alert, buttons[0])


BUTTONS = (pyatspi.ROLE_PUSH_BUTTON,)


def _has(part, state):
    part.clear_cache()
    return part.getState().contains(state)


def _shows(part):
    return _has(part, pyatspi.STATE_SHOWING)


def parts(window):
    """The window and all that it holds."""
    yield window
    for part in window:
        if part:
            yield from parts(part)


def is_button(name):
    return lambda part: part.getRole() in BUTTONS and part.name == name


def is_password(part):
    return part.getRole() == pyatspi.ROLE_PASSWORD_TEXT and part.name == "Password"


def is_progress_bar(part):
    return part.getRole() == pyatspi.ROLE_PROGRESS_BAR


def main():
    hand = Hand(json.loads(sys.argv[1]))
    try:
        saw = hand.run()
        with open(hand.plan["report"], "w", encoding="ascii") as report:
            json.dump(saw, report)
    finally:
        if hand.program.poll() is None:
            hand.program.kill()


if __name__ == "__main__":
    os.chdir("/")
    main()
