"""What was on the disk before an uninstall must be there afterwards: in its place, or whole and on
record in a Trash. Only folders left empty may go, with the metadata files that do not count."""

import os
import resource
import sys
from contextlib import contextmanager

import facts
import trash
from outcome import LITTER, UNWATCHED
from session import UID
from things import METADATA, REMOVABLE


@contextmanager
def _room_for_deep_trees():
    """For this script only, not for what it starts."""
    limits, depth = resource.getrlimit(resource.RLIMIT_NOFILE), sys.getrecursionlimit()
    resource.setrlimit(resource.RLIMIT_NOFILE, (limits[1], limits[1]))
    sys.setrecursionlimit(50_000)
    try:
        yield
    finally:
        resource.setrlimit(resource.RLIMIT_NOFILE, limits)
        sys.setrecursionlimit(depth)


def look(volumes, but=()):
    """The facts of everything in this world and on its volumes, by path."""
    with _room_for_deep_trees():
        seen = facts.tree("/", UNWATCHED.union(but))
        for volume in volumes:
            if not volume.startswith(tuple(but)):
                seen.update(facts.tree(volume))
        return seen


def trashes(data, volumes):
    """Every Trash of the user's: its folder, and the top folder of its volume."""
    yield "/" + os.path.normpath(data).strip("/") + "/Trash", "/"
    for volume in volumes:
        yield f"{volume}/.Trash-{UID}", volume
        yield f"{volume}/.Trash/{UID}", volume


def _shown(path, what):
    return (f"{path[:120]!a} ({what.kind}{what.mode:04o}, owner {what.owner[0]}"
            f"{', -> ' + what.content if what.kind == 'l' else ''})")


class Comparison:
    """What an uninstall did to a world: `moved` pairs original paths with places in a Trash,
    `lost` tells what has gone or changed, or has no record, `litter` what else is there now."""

    def __init__(self, before, after, places):
        self.before, self.after = before, after
        self.moved, self.lost, self.litter = [], [], []
        self._read_trashes(places)
        self._find_losses()
        self._find_litter([place for place, _ in places])

    def _read_trashes(self, places):
        for place, top in places:
            try:
                self.moved += [(self._without_links(original), item)
                               for original, item in trash.records(place, top, self.before)]
            except ValueError as error:
                self.lost.append(f"{place}: {error}")
            files = place + "/files/"
            entries = {path[len(files):].split("/")[0] for path in self.after
                       if path.startswith(files) and path not in self.before}
            self.lost += [f"no record of {files}{name[:80]!a}" for name in entries
                             if f"{place}/info/{name}.trashinfo" not in self.after]

    def _without_links(self, path):
        """The path by which an item was known that was reached through links; these may have gone
        since."""
        real = ""
        for part in os.path.dirname(path).split("/")[1:]:
            real = os.path.normpath(f"{real}/{part}")
            while real in self.before and self.before[real].kind == "l":
                real = os.path.normpath(os.path.join(os.path.dirname(real),
                                                     self.before[real].content))
        return f"{real}/{os.path.basename(path)}"

    def _find_losses(self):
        for path, known in self.before.items():
            now = self.after.get(path)
            if now == known or (now and known.kind == "d"
                                and now.without_time() == known.without_time()):
                continue
            if self._stands_in_a_trash(path, known) or (not now and self._may_go(path, known)):
                continue
            self.lost.append(_shown(path, known) + (", now another item" if now else ""))

    def _stands_in_a_trash(self, path, known):
        return any(self.after.get(place + path[len(original):]) == known
                   for original, place in self.moved
                   if path == original or path.startswith(original + "/"))

    @staticmethod
    def _may_go(path, known):
        """Folders and metadata files in a removable folder; what else was in them shows itself."""
        if not any(path == top or path.startswith(top + "/") for top in REMOVABLE):
            return False
        return known.kind == "d" or (known.kind == "-" and os.path.basename(path) in METADATA)

    def problems(self):
        return [f"{what}, {len(found)} in all:\n  " + "\n  ".join(found[:8])
                for what, found in (("lost", self.lost), ("litter", self.litter)) if found]

    def _find_litter(self, places):
        ours = (*LITTER, *places)
        for path, what in self.after.items():
            if path in self.before or (what.kind == "l" and path.endswith("/.Trash")):
                continue
            if not any(path == top or path.startswith(top + "/") for top in ours):
                self.litter.append(_shown(path, what))
