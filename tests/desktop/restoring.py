"""Puts what was moved to the Trash back, as a user would, with the desktop's own tools."""

import os
import re
import subprocess
import urllib.parse
from collections import Counter

import facts
from session import as_user, in_session

# Of each kind, this many items are put back; it takes the tool a while.
SAMPLE = 12
LONGEST_NAME = 255


def problems(outcome):
    """What the desktop's tools do not list, or do not put back as it was."""
    moved = {item: outcome.trashed[item.path]
             for item, state in outcome.state.items() if state == "trashed"}
    sample, seen = {}, Counter()
    for item, place in moved.items():
        seen[item.kind] += 1
        name = _spelling(os.path.basename(item.path))
        if seen[item.kind] <= SAMPLE and len(name) <= LONGEST_NAME:
            sample[item.path] = place
    for path in sample:
        subprocess.run(as_user(["mkdir", "-p", "--", os.path.dirname(path)]), check=True)
    found = _unlisted_by_trash_list(moved)
    listed, failures = _list_and_restore(sample)
    found += [f"gio trash --list lacks {item.path!a}" for item, place in moved.items()
              if os.path.basename(place) not in listed]
    found += [f"gio trash --restore: {line}" for line in failures]
    found += [line for path, place in sample.items() if (line := _compare(path, place, outcome))]
    print(f"the desktop lists {len(moved)} items in the Trash; {len(sample)} put back, "
          f"{len(found)} problems")
    return found


def _spelling(name):
    """The name that the desktop's tool gives to what it puts back: it spells bytes outside of ASCII
    out, whoever put the item into the Trash."""
    return re.sub(rb"[^ -\[\]-~]", lambda byte: b"\\x%02x" % byte[0][0], os.fsencode(name)).decode()


def _compare(path, place, outcome):
    folder, name = os.path.split(path)
    back = f"{folder}/{_spelling(name)}"
    if os.path.lexists(place) or not os.path.lexists(back):
        return f"{path!a} was not put back"
    if facts.below(back, facts.tree(back)) != facts.below(path, outcome.before):
        return f"{path!a} came back changed"
    return ""


def _unlisted_by_trash_list(moved):
    run = subprocess.run(as_user(["trash-list"]), capture_output=True, check=True)
    listing = run.stdout.decode()
    readable = {item.path: os.fsencode(item.path).decode(errors="replace") for item in moved}
    return [f"trash-list lacks {path!a}" for path, shown in readable.items()
            if f" {shown}\n" not in listing]


def _list_and_restore(sample):
    """Lists the Trash and restores the sample; answers the names listed and what went wrong. One
    session serves for all: the service behind it starts slowly."""
    script = 'gio trash --list | cut -f 1; echo; for uri; do gio trash --restore "$uri" 2>&1; done'
    uris = ["trash:///" + urllib.parse.quote_from_bytes(os.fsencode(os.path.basename(place)))
            for place in sample.values()]
    output = subprocess.run(in_session(["sh", "-c", script, "sh", *uris]), check=True,
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout.decode()
    listing, _, failures = output.partition("\n\n")
    names = {os.fsdecode(urllib.parse.unquote_to_bytes(line.removeprefix("trash:///")))
             for line in listing.splitlines()}
    return names, failures.splitlines()
