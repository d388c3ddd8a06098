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


def records(trash=TRASH, top="/", known=()):
    """Where each item in a Trash came from: pairs of its original path and its path in the Trash.
    `top` is the top folder of its volume; info files that are `known` are passed over. Raises
    ValueError for an entry that a file manager could not put back."""
    if not os.path.isdir(trash + "/info"):
        return
    for name in sorted(os.listdir(trash + "/info")):
        if f"{trash}/info/{name}" in known:
            continue
        with open(f"{trash}/info/{name}", "rb") as file:
            info = _INFO.fullmatch(file.read())
        item = f"{trash}/files/{name.removesuffix('.trashinfo')}"
        if not info or not name.endswith(".trashinfo"):
            raise ValueError(f"not a Trash info file: {name!a}")
        if not os.path.lexists(item):
            raise ValueError(f"a Trash info file without its item: {name!a}")
        original = os.fsdecode(urllib.parse.unquote_to_bytes(info[1]))
        yield os.path.join(top, original), item


def contents():
    """The records of the user's Trash: original path to path in the Trash."""
    return dict(records())
