"""Where things stand in a hostile world, and the making of them."""

import os
import stat

import material
from sample_installation import HOME, SUPPORT, TRASH
from session import UID

COLLEAGUE = UID + 2
COLLEAGUES_HOME = "/Users/carl"
APPLICATIONS = "/Applications/Quorvane"
SUITE = APPLICATIONS + "/Brightkeel"
USERS_SUPPORT, MACHINES_SUPPORT = SUPPORT
# The folders that go when nothing is left in them.
REMOVABLE = (USERS_SUPPORT, MACHINES_SUPPORT, SUITE, APPLICATIONS)
METADATA = (".DS_Store", "Icon\r")


def folder(path, owner=None, mode=0o755):
    """A folder, made with all above it; without an owner, it belongs to that of the one above."""
    if not os.path.lexists(path):
        above = os.path.dirname(path)
        if not os.path.lexists(above):
            folder(above)
        os.mkdir(path)
        _give(path, owner)
        os.chmod(path, mode)
    return path


def file(path, owner=None, mode=0o644, content=None):
    folder(os.path.dirname(path))
    material.file(path, content, mode)
    _give(path, owner)
    return path


def bundle(path, owner=None, identifier="com.quorvane.Tool", content=""):
    folder(os.path.dirname(path))
    material.bundle(path, identifier)
    if content:
        material.file(path + "/Contents/Resources/edition", content.encode())
    above = os.stat(os.path.dirname(path)).st_uid
    material.finish(path, above if owner is None else owner)
    return path


def _give(path, owner):
    owner = os.stat(os.path.dirname(path)).st_uid if owner is None else owner
    os.chown(path, owner, owner, follow_symlinks=False)


def link(path, target):
    folder(os.path.dirname(path))
    os.symlink(target, path)
    _give(path, None)
    return path


def device(path, major, minor):
    """A character device for everybody."""
    if not os.path.exists(path):
        os.mknod(path, stat.S_IFCHR, os.makedev(major, minor))
        os.chmod(path, 0o666)


def thrown_away(path, original, owner=UID, in_trash=TRASH):
    """Puts an item on record as thrown away from its original path; `path` makes it."""
    for part in ("files", "info"):
        folder(f"{in_trash}/{part}", owner, 0o700)
    return file(f"{in_trash}/info/{os.path.basename(path)}.trashinfo", owner,
                content=f"[Trash Info]\nPath={original}\nDeletionDate=2015-03-04T05:06:07\n".encode())


def registered(path, identifier, home=HOME):
    """An entry of the user's own that says where an application is."""
    return file(f"{home}/.local/share/applications/{identifier}.desktop",
                content=b"[Desktop Entry]\nType=Application\nName=Tool\nX-Quorvane-Bundle="
                + os.fsencode(path) + b"\n")


def chain(path, levels):
    """Folders in folders, deeper than any path can say; returns an open descriptor of the last."""
    folder(path)
    inner = os.open(path, os.O_RDONLY)
    for _ in range(levels):
        os.mkdir("d", dir_fd=inner)
        outer, inner = inner, os.open("d", os.O_RDONLY, dir_fd=inner)
        os.close(outer)
    return inner
