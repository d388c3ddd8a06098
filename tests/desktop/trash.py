"""The desktop's Trash as its specification lays it out, read without the program's help."""

import os
import re
import urllib.parse

from sample_installation import TRASH

FILES, INFOS = TRASH + "/files", TRASH + "/info"
_INFO = re.compile(rb"\[Trash Info\]\nPath=([^\n]*)\n"
                   rb"DeletionDate=\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\n?")


def _item(info):
    return f"{FILES}/{info.removesuffix('.trashinfo')}"


def drop_infos_without_item():
    """Takes away what a program that was killed had written down of an item that did not come; file
    managers do not show it. Answers the names."""
    dropped = [name for name in os.listdir(INFOS) if not os.path.lexists(_item(name))]
    for name in dropped:
        os.unlink(f"{INFOS}/{name}")
    return dropped


def contents():
    """Where each item in the Trash came from: original path to path in the Trash. Raises ValueError
    for an entry that a file manager could not put back."""
    found = {}
    if not os.path.isdir(INFOS):
        return found
    for name in sorted(os.listdir(INFOS)):
        with open(f"{INFOS}/{name}", "rb") as file:
            info = _INFO.fullmatch(file.read())
        item = _item(name)
        if not info or not name.endswith(".trashinfo"):
            raise ValueError(f"not a Trash info file: {name!a}")
        if not os.path.lexists(item):
            raise ValueError(f"a Trash info file without its item: {name!a}")
        found[os.fsdecode(urllib.parse.unquote_to_bytes(info[1]))] = item
    return found
