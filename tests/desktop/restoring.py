"""Puts what the uninstaller moved back from the Trash, as a user would, with the desktop's tools."""

import os
import subprocess
import urllib.parse

import facts
from sample_installation import TRASH
from session import as_user, in_session


def problems(outcome):
    """What the desktop's tools do not list, or do not put back as it was."""
    moved = {item.path: outcome.trashed[item.path]
             for item, state in outcome.state.items() if state == "trashed"}
    found = _unlisted_by_trash_list(moved)
    for path in moved:
        subprocess.run(as_user(["mkdir", "-p", "--", os.path.dirname(path)]), check=True)
    listed, failed = _gio(moved)
    found += [f"gio trash --list lacks {path!a}" for path, place in moved.items()
              if os.path.basename(place) not in listed]
    found += [f"gio trash --restore: {line}" for line in failed]
    for path, place in moved.items():
        if os.path.lexists(place) or not os.path.lexists(path):
            found.append(f"{path!a} was not put back")
        elif facts.below(path, facts.tree(path)) != facts.below(path, outcome.before):
            found.append(f"{path!a} came back changed")
    print(f"put back from the Trash: {len(moved)} listed and restored, {len(found)} problems")
    return found


def _unlisted_by_trash_list(moved):
    listing = subprocess.run(as_user(["trash-list"], PYTHONIOENCODING="utf-8:surrogateescape"),
                             capture_output=True, check=True).stdout
    return [f"trash-list lacks {path!a}" for path in moved
            if b" " + os.fsencode(path) + b"\n" not in listing]


def _gio(moved):
    """Lists the Trash and restores all that was moved to it; answers the names listed and what went
    wrong. One session serves for all: the service behind it starts slowly."""
    script = 'gio trash --list | cut -f 1; echo; for uri; do gio trash --restore "$uri" 2>&1; done'
    uris = ["trash:///" + urllib.parse.quote_from_bytes(os.fsencode(os.path.basename(place)))
            for place in moved.values()]
    output = subprocess.run(in_session(["sh", "-c", script, "sh", *uris]),
                            stdout=subprocess.PIPE, check=True).stdout.decode()
    listing, _, failures = output.partition("\n\n")
    names = {os.fsdecode(urllib.parse.unquote_to_bytes(line.removeprefix("trash:///")))
             for line in listing.splitlines()}
    return names, failures.splitlines()
