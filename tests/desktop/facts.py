"""What a file system holds, so exactly that a change shows: kind, mode, owner, time, content."""

import hashlib
import os
import stat
from dataclasses import dataclass, replace


@dataclass(frozen=True)
class Facts:
    kind: str
    mode: int
    owner: tuple
    modified: int
    content: str
    attributes: tuple

    def without_time(self):
        """For a folder whose entries have changed on purpose."""
        return replace(self, modified=0)


def _attributes(descriptor):
    try:
        names = sorted(os.listxattr(descriptor))
        return tuple((name, os.getxattr(descriptor, name)) for name in names)
    except OSError:
        return ()


def _facts(name, info, descriptor, folder):
    content, attributes = "", ()
    if stat.S_ISLNK(info.st_mode):
        content = os.readlink(name, dir_fd=folder)
    elif descriptor is not None:
        attributes = _attributes(descriptor)
        if stat.S_ISREG(info.st_mode):
            with os.fdopen(descriptor, "rb", closefd=False) as file:
                content = hashlib.file_digest(file, "sha256").hexdigest()
    return Facts(stat.filemode(info.st_mode)[0], stat.S_IMODE(info.st_mode),
                 (info.st_uid, info.st_gid), info.st_mtime_ns, content, attributes)


def _walk(path, name, folder, device, skipped, found):
    info = os.stat(name, dir_fd=folder, follow_symlinks=False)
    if device not in (None, info.st_dev):
        return
    descriptor = None
    if stat.S_ISDIR(info.st_mode) or stat.S_ISREG(info.st_mode):
        flags = os.O_RDONLY | os.O_NOFOLLOW | os.O_NOATIME
        descriptor = os.open(name, flags, dir_fd=folder)
    try:
        found[path] = _facts(name, info, descriptor, folder)
        if stat.S_ISDIR(info.st_mode):
            for entry in os.listdir(descriptor):
                below = path.rstrip("/") + "/" + entry
                if below not in skipped:
                    _walk(below, entry, descriptor, info.st_dev, skipped, found)
    finally:
        if descriptor is not None:
            os.close(descriptor)


def tree(path, skipped=frozenset()):
    """Facts of the item and all below it, by path. Stays on one file system; follows no link; paths
    may be longer than the system takes in one piece."""
    found = {}
    _walk(path, path, None, None, skipped, found)
    return found


def below(path, facts):
    """The part of `facts` that tells of the item and what it holds, by path relative to it."""
    return {place[len(path):]: value for place, value in facts.items()
            if place == path or place.startswith(path + "/")}
