"""What an uninstall must have done, by the tables and the options alone, and whether it did."""

import os
from collections import Counter

import catalogue
import facts
import trash
from sample_installation import HOME, SUPPORT, TRASH

NOT_CHOSEN = {"shared": "shared components not chosen", "config": "preference files not chosen"}
CANCELLED = "cancelled"
NO_RIGHTS = "needs administrator rights"

# What a desktop session leaves in a home, whatever program runs in it, and where nobody looks.
LITTER = tuple(HOME + name for name in (
    "/.cache", "/.config", "/.dbus", "/.local/share/gvfs-metadata"))
UNWATCHED = frozenset(("/tmp", "/var/tmp", "/root"))


def world():
    return facts.tree("/", UNWATCHED)


def chosen_options(items):
    """The options that must have been on, judging by what went; None if nothing did."""
    gone = [item for item in items if not os.path.lexists(item.path)]
    return set().union(*(item.needs for item in gone)) if gone else None


class Outcome:
    """The world before and after one run. `options` is None for a run that was cancelled; `rights`
    tells whether the machine-wide items could be moved, "partly" if some of them."""

    def __init__(self, items, before, options, rights="yes"):
        self.items, self.before, self.options, self.rights = items, before, options, rights
        self.state = {}
        self.problems, self.touched = [], []
        self.after = world()
        self._find_items()
        self._find_removed_folders()
        self._check_strangers()

    def reason(self, item):
        """Why an item stays; empty if it goes."""
        if self.options is None:
            return CANCELLED
        for option in ("config", "shared"):
            if option in item.needs and option not in self.options:
                return NOT_CHOSEN[option]
        if not item.machine_wide or self.rights == "yes":
            return ""
        refused = self.rights == "no" or self.state.get(item) == "kept"
        return NO_RIGHTS if refused else ""

    def _find_items(self):
        try:
            self.trashed = trash.contents()
        except ValueError as error:
            self.trashed = {}
            self.problems.append(str(error))
        for item in self.items:
            whole = facts.below(item.path, self.before)
            place = self.trashed.get(item.path)
            if facts.below(item.path, self.after) == whole:
                self.state[item] = "kept"
            elif place and facts.below(place, self.after) == whole:
                self.state[item] = "trashed"
            else:
                self.state[item] = "lost"
            expected = "kept" if self.reason(item) else "trashed"
            if self.state[item] != expected:
                self.problems.append(f"{item.path!a}: {self.state[item]}, not {expected}")

    def _find_removed_folders(self):
        """Folders that hold nothing but files that do not count go with these."""
        gone = {item.path for item in self.items if not self.reason(item)}
        self.removed = set()
        if self.options is None:
            return
        for folder in SUPPORT + catalogue.APPLICATION_FOLDERS:
            if folder not in self.before:
                continue
            left = [path for path in self._inside(folder) if not self._within(path, gone)]
            if all(self.before[path].kind == "d"
                   or os.path.basename(path) in (".DS_Store", "Icon\r") for path in left):
                self.removed.add(folder)

    def _inside(self, folder):
        return [path for path in self.before if path.startswith(folder + "/")]

    @staticmethod
    def _within(path, roots):
        while path not in ("", "/"):
            if path in roots:
                return True
            path = os.path.dirname(path)
        return False

    def _check_strangers(self):
        items = {item.path for item in self.items}
        changed = {os.path.dirname(path) for path in items | self.removed}
        changed |= {HOME, HOME + "/.local", HOME + "/.local/share", TRASH, TRASH + "/files",
                    TRASH + "/info"}
        for path, known in self.before.items():
            if self._within(path, items):
                continue
            now = self.after.get(path)
            if self._within(path, self.removed):
                if now:
                    self.problems.append(f"{path!a}: still there, though its folder is empty")
            elif not now:
                self.touched.append(f"{path!a}: gone")
            elif now != known and not (path in changed
                                       and now.without_time() == known.without_time()):
                self.touched.append(f"{path!a}: {known} became {now}")
        self._check_newcomers(items)

    def _check_newcomers(self, items):
        ours = {place for path, place in self.trashed.items() if path in items}
        ours |= {f"{TRASH}/info/{os.path.basename(place)}.trashinfo" for place in ours}
        ours |= {HOME + "/.Trash", TRASH + "/directorysizes", *LITTER}
        for path in self.after:
            if path not in self.before and not self._within(path, ours):
                self.touched.append(f"{path!a}: not there before")
        link = self.after.get(HOME + "/.Trash")
        if link and link.content != TRASH + "/files":
            self.problems.append(f"~/.Trash leads to {link.content!a}")

    def count(self, state):
        return sum(1 for found in self.state.values() if found == state)

    def holds(self):
        return not self.problems and not self.touched and self.count("lost") == 0

    def print(self):
        kinds = list(dict.fromkeys(item.kind for item in self.items))
        print(f"{'':22}{'installed':>10}{'in the Trash':>14}{'kept':>6}{'lost':>6}")
        for kind in kinds:
            mine = [item for item in self.items if item.kind == kind]
            states = Counter(self.state[item] for item in mine)
            reasons = Counter(self.reason(item) or "not moved"
                              for item in mine if self.state[item] == "kept")
            why = ", ".join(reason if len(reasons) == 1 else f"{number} {reason}"
                            for reason, number in reasons.items())
            print(f"{kind:22}{len(mine):10}{states['trashed']:14}{states['kept']:6}"
                  f"{states['lost']:6}  {why}".rstrip())
        for folder in sorted(self.removed):
            print(f"empty folder removed:  {folder}")
        for line in (self.problems + self.touched)[:40]:
            print("WRONG  " + line)

    def last_line(self):
        return (f"rehearsal: {len(self.items)} installed, {self.count('trashed')} in the Trash, "
                f"{self.count('kept')} kept, {self.count('lost')} lost, "
                f"{len(self.touched)} strangers touched")
