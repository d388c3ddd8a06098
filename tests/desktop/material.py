"""Makes files, folders and bundles of deterministic content, some of them awkward to handle."""

import hashlib
import os
import plistlib
import shutil

# Names that have tripped programs up: every one of them is legal.
AWKWARD_NAMES = (
    "two  spaces .dat", "line\nbreak.dat", "Ünïcödé – 映像.dat", "u\u0308 decomposed.dat",
    "not \udcff\udcfe text.dat", "-rf", "100% %41.dat", "quote'\"$(touch x)`.dat", "back\\slash",
    "n" * 251 + ".dat", "映" * 85,
)


def text(path, size=600):
    """Content that differs from file to file and is the same in every run."""
    seed = hashlib.sha256(path.encode("utf-8", "surrogateescape")).hexdigest()
    return (seed * (size // len(seed) + 1))[:size].encode()


def file(path, content=None, mode=0o644):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as stream:
        stream.write(text(path) if content is None else content)
    os.chmod(path, mode)
    return path


def preferences(path):
    return file(path, plistlib.dumps({"Opened": os.fsencode(path), "Count": len(path)},
                                     fmt=plistlib.FMT_BINARY))


def bundle(path, identifier, executable=None):
    """An application bundle; with an executable, its tool can be started."""
    tool = os.path.basename(path).removesuffix(".app")
    properties = {"CFBundleIdentifier": identifier, "CFBundleExecutable": tool,
                  "CFBundleName": tool, "CFBundlePackageType": "APPL",
                  "CFBundleShortVersionString": "4.2"}
    # Both forms of property list occur in the field.
    form = plistlib.FMT_BINARY if len(tool) % 2 else plistlib.FMT_XML
    file(path + "/Contents/Info.plist", plistlib.dumps(properties, fmt=form))
    program = file(f"{path}/Contents/MacOS/{tool}", mode=0o755)
    if executable:
        shutil.copyfile(executable, program)
    file(path + "/Contents/Resources/Localised Ünits.strings")
    os.symlink(f"../MacOS/{tool}", path + "/Contents/Resources/current")
    return path


def deep_folder(path, depth=150):
    """A folder in a folder and so on, until its full path is longer than the system takes."""
    os.mkdir(path)
    descriptor = os.open(path, os.O_RDONLY)
    for level in range(depth):
        name = f"level {level} " + "d" * 25
        os.mkdir(name, dir_fd=descriptor)
        inner = os.open(name, os.O_RDONLY, dir_fd=descriptor)
        os.close(descriptor)
        descriptor = inner
    os.close(os.open("the bottom", os.O_WRONLY | os.O_CREAT, 0o600, dir_fd=descriptor))
    os.close(descriptor)


def awkward_folder(path):
    """A folder of everything that a careless program follows, waits for or chokes on."""
    for name in AWKWARD_NAMES:
        file(f"{path}/{name}")
    os.mkfifo(path + "/pipe")
    os.symlink("loop", path + "/loop")
    os.symlink("nowhere", path + "/dangling")
    os.symlink("..", path + "/upwards")
    deep_folder(path + "/deep")
    file(path + "/locked away/secret.dat", mode=0o400)
    os.chmod(path + "/locked away", 0o500)
    file(path + "/marked.dat")
    try:
        os.setxattr(path + "/marked.dat", "user.com.quorvane.origin", b"tape \x00 7")
    except OSError:
        pass  # this file system has no user attributes
    return path


def finish(path, owner):
    """Gives the item and all below it to the owner, with a date in the past of its own."""
    for folder, folders, files, descriptor in os.fwalk(path, topdown=False, follow_symlinks=False):
        for name in files + folders:
            _finish_one(name, os.path.join(folder, name), owner, descriptor)
    _finish_one(path, path, owner, None)


def _finish_one(name, place, owner, descriptor):
    if os.geteuid() == 0:
        os.chown(name, owner, owner, dir_fd=descriptor, follow_symlinks=False)
    digest = hashlib.sha256(os.fsencode(place)).digest()
    moment = 1_400_000_000_000_000_000 + int.from_bytes(digest[:7], "big")
    os.utime(name, ns=(moment, moment), dir_fd=descriptor, follow_symlinks=False)
