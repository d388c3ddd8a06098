#!/usr/bin/python3
"""Proves the Trash with the desktop's own tools, in a world of its own.

usage: run.py RECYCLE    (the test program; ends with 77 where such a world cannot be made)

The world is a private mount and process namespace with two ext4 volumes and an ordinary user; nothing
outside of a temporary folder is touched, and all processes end with it.
"""
import os
import re
import shutil
import stat
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SKIP = 77
UID = 4242
USER = "anna"
TOOLS = ["unshare", "mkfs.ext4", "setpriv", "gio", "dbus-run-session", "trash-list", "trash-restore"]


def run(*command, check=True, **options):
    return subprocess.run(command, check=check, timeout=60, **options)


# --- Outside: start the world and take it away -------------------------------------------------

def outside(recycle):
    if os.geteuid() != 0 or any(shutil.which(tool) is None for tool in TOOLS):
        print("needs root and", ", ".join(TOOLS))
        return SKIP
    base = tempfile.mkdtemp(prefix="quorvane-trash-")
    try:
        return run("unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc",
                   "--propagation", "private", sys.executable, __file__, "--inside", base, recycle,
                   check=False).returncode
    finally:
        shutil.rmtree(base)


# --- Inside: build the world -------------------------------------------------------------------

class World:
    def __init__(self, base, recycle):
        self.base = Path(base)
        self.volume = self.mount("volume")
        self.other = self.mount("other")
        os.chmod(base, 0o755)
        self.program = self.volume / "recycle"
        shutil.copy(recycle, self.program)
        self.home = self.user_folder("home")
        self.temporary = self.user_folder("tmp")
        self.runtime = self.user_folder("run")
        self.replace("/etc/passwd", f"root:x:0:0::/root:/bin/sh\n{USER}:x:{UID}:{UID}::{self.home}:/bin/sh\n")
        self.replace("/etc/group", f"root:x:0:\n{USER}:x:{UID}:\n")
        run("mount", "-t", "tmpfs", "tmpfs", "/run")
        self.work = self.user_folder("work")
        self.counter = 0

    def mount(self, name, size="64M"):
        image, point = self.base / (name + ".img"), self.base / name
        point.mkdir()
        run("truncate", "-s", size, image)
        run("mkfs.ext4", "-q", image)
        try:
            run("mount", "-o", "loop", image, point)
        except subprocess.CalledProcessError:
            sys.exit(SKIP)
        return point

    def user_folder(self, name):
        folder = self.volume / name
        folder.mkdir(mode=0o700)
        os.chown(folder, UID, UID)
        return folder

    def replace(self, path, content):
        copy = self.base / Path(path).name
        copy.write_text(content)
        run("mount", "--bind", copy, path)

    def console(self, user):
        """Who sits at the console; None for nobody."""
        sessions, seats = Path("/run/systemd/sessions"), Path("/run/systemd/seats")
        for folder in sessions, seats:
            folder.mkdir(parents=True, exist_ok=True)
        (seats / "seat0").write_text("ACTIVE=c1\n" if user else "IS_SEAT0=1\n")
        (sessions / "c1").write_text(f"CLASS=user\nUSER={user}\n")

    def fresh_folder(self, parent=None, owner=UID):
        """A new folder to work in, so that no test meets another's items."""
        self.counter += 1
        folder = (parent or self.work) / f"test{self.counter}"
        folder.mkdir()
        os.chown(folder, owner, owner)
        return folder

    def as_user(self, *command, bus=False, input=None):
        environment = {"HOME": str(self.home), "PATH": os.environ["PATH"], "USER": USER,
                       "TMPDIR": str(self.temporary), "LC_ALL": "C.UTF-8", "XDG_RUNTIME_DIR": str(self.runtime)}
        command = [os.fsencode(part) for part in command]
        if bus:
            command = ["dbus-run-session", "--"] + command
        # The desktop's services warn on standard error about all that this small world lacks.
        return run("setpriv", f"--reuid={UID}", f"--regid={UID}", "--clear-groups", "--inh-caps=-all",
                   *command, env=environment, cwd=self.home, check=False, input=input,
                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout

    def recycle(self, folder, *names):
        return self.as_user(self.program, folder, *names).decode().strip()

    def recycle_as_root(self, folder, *names):
        result = run(self.program, folder, *names, check=False, stdout=subprocess.PIPE,
                     env={"HOME": "/root", "PATH": os.environ["PATH"]})
        return result.stdout.decode().strip()

    @property
    def trash(self):
        return self.home / ".local/share/Trash"

    def listed(self):
        """What the desktop lists: address by original path."""
        output = self.as_user("gio", "trash", "--list", bus=True)
        pairs = (line.split(b"\t", 1) for line in output.splitlines() if b"\t" in line)
        return {re.sub(rb"\\x([0-9a-f]{2})", lambda code: bytes([int(code[1], 16)]), path): address
                for address, path in pairs}

    def restore(self, *paths):
        addresses = self.listed()
        return self.as_user("gio", "trash", "--restore", *(addresses[path] for path in paths), bus=True)

    def empty_by_hand(self):
        for trash in self.trash, self.other / f".Trash-{UID}", self.other / ".Trash":
            shutil.rmtree(trash, ignore_errors=True)


WORLD = None


def facts(path):
    """All that must come back with an item, for the item and everything below it."""
    found = {}
    for item in [path] + [os.path.join(folder, name) for folder, folders, files in os.walk(path)
                          for name in folders + files]:
        status = os.lstat(item)
        content = None
        if stat.S_ISREG(status.st_mode):
            with open(item, "rb") as file:
                content = file.read()
        elif stat.S_ISLNK(status.st_mode):
            content = os.readlink(item)
        found[os.path.relpath(item, path)] = (status.st_mode, status.st_uid, status.st_gid,
                                              status.st_mtime_ns, content)
    return found


def escaped(path):
    """How some versions of gio spell a path's bytes outside of ASCII, even when they restore it."""
    return re.sub(rb"[^ -~]", lambda byte: b"\\x%02x" % byte[0][0], path)


def write(path, content=b"content", owner=UID, mode=0o640):
    with open(path, "wb") as file:
        file.write(content)
    os.chown(path, owner, owner)
    os.chmod(path, mode)
    os.utime(path, ns=(1_000_000_000_123_456_789, 1_111_111_111_987_654_321))


def make_tree(folder, owner=UID):
    os.makedirs(folder / "Contents/inner")
    write(folder / "Contents/Info.plist", owner=owner)
    write(folder / "Contents/inner/tool", mode=0o751, owner=owner)
    os.symlink("../missing", folder / "Contents/link")
    for each in folder / "Contents/inner", folder / "Contents", folder:
        os.chown(each, owner, owner)
        os.chmod(each, 0o755)
        os.utime(each, ns=(1, 1_222_222_222_000_000_001))


def names_in(folder):
    return sorted(os.listdir(folder)) if os.path.isdir(folder) else []


# --- Inside: the tests -------------------------------------------------------------------------

class TrashTest(unittest.TestCase):
    def setUp(self):
        WORLD.empty_by_hand()
        WORLD.console(None)
        os.chmod(WORLD.other, 0o777)

    def assert_nothing_recorded(self, trash):
        self.assertEqual(names_in(os.path.join(trash, "info")), [])
        self.assertEqual(names_in(os.path.join(trash, "files")), [])

    def test_the_desktop_lists_and_restores_every_kind_of_item(self):
        folder = WORLD.fresh_folder()
        names = [b"plain.txt", b"with space", b"new\nline", b"\xff\xfe invalid", b"Gr\xc3\xbc\xc3\x9f",
                 b"n" * 255, b"%41", b"-rf"]
        for name in names:
            write(os.path.join(os.fsencode(folder), name), name)
        make_tree(folder / "Stage Tidy.app")
        os.symlink("/nowhere", folder / "dangling")
        os.mkfifo(folder / "fifo")
        for name in "dangling", "fifo":
            os.chown(folder / name, UID, UID, follow_symlinks=False)
        names += [b"Stage Tidy.app", b"dangling", b"fifo"]
        paths = [os.path.join(os.fsencode(folder), name) for name in names]
        before = {path: facts(path) for path in paths}

        self.assertEqual(WORLD.recycle(folder, *names), "ok")
        self.assertEqual(names_in(folder), [])
        self.assertEqual(WORLD.as_user("trash-list").count(os.fsencode(folder)), len(names))
        listed = WORLD.listed()
        self.assertEqual(sorted(listed), sorted(paths))

        WORLD.as_user("gio", "trash", "--restore", *listed.values(), bus=True)
        self.assertEqual(len(os.listdir(folder)), len(names))
        for path in paths:
            self.assertEqual(facts(path if os.path.lexists(path) else escaped(path)), before[path])
        self.assert_nothing_recorded(WORLD.trash)

    def test_trash_cli_restores_a_name_that_is_not_ascii(self):
        folder = WORLD.fresh_folder()
        path = folder / "Gr\u00fc\u00df Gott.txt"
        write(path)
        before = facts(path)
        self.assertEqual(WORLD.recycle(folder, path.name), "ok")
        WORLD.as_user("trash-restore", path, input=b"0\n")
        self.assertEqual(facts(path), before)

    def test_items_of_one_name_all_come_back(self):
        folders = [WORLD.fresh_folder() for _ in range(3)]
        for folder in folders:
            write(folder / "a.txt", bytes(folder))
            self.assertEqual(WORLD.recycle(folder, "a.txt"), "ok")
        WORLD.restore(*(bytes(folder / "a.txt") for folder in folders))
        for folder in folders:
            self.assertEqual((folder / "a.txt").read_bytes(), bytes(folder))

    def test_the_desktop_empties_the_trash(self):
        folder = WORLD.fresh_folder()
        write(folder / "a")
        make_tree(folder / "A.app")
        self.assertEqual(WORLD.recycle(folder, "a", "A.app"), "ok")
        WORLD.as_user("gio", "trash", "--empty", bus=True)
        self.assert_nothing_recorded(WORLD.trash)
        self.assertEqual(WORLD.listed(), {})

    def test_an_announced_item_moved_by_a_tool_comes_back(self):
        folder = WORLD.fresh_folder()
        write(folder / "a.txt")
        before = facts(folder / "a.txt")
        destination = WORLD.as_user(WORLD.program, "--announce", folder / "a.txt",
                                    WORLD.home / ".Trash/a.txt").rstrip(b"\n")
        self.assertEqual(destination, bytes(WORLD.trash / "files/a.txt"))
        run("mv", "-f", folder / "a.txt", destination)
        WORLD.restore(bytes(folder / "a.txt"))
        self.assertEqual(facts(folder / "a.txt"), before)

    def test_an_item_of_another_volume_goes_to_that_volumes_trash(self):
        folder = WORLD.fresh_folder(WORLD.other)
        make_tree(folder / "A.app")
        before = facts(folder / "A.app")
        self.assertEqual(WORLD.recycle(folder, "A.app"), "ok")
        trash = WORLD.other / f".Trash-{UID}"
        self.assertEqual(stat.S_IMODE(trash.stat().st_mode), 0o700)
        self.assertEqual(names_in(trash / "files"), ["A.app"])
        self.assertIn(f"\nPath={folder.name}/A.app\n", (trash / "info/A.app.trashinfo").read_text())
        self.assert_nothing_recorded(WORLD.trash)
        self.assertIn(bytes(folder / "A.app"), WORLD.as_user("trash-list"))
        WORLD.restore(bytes(folder / "A.app"))
        self.assertEqual(facts(folder / "A.app"), before)

    def test_an_item_at_the_top_of_a_volume(self):
        write(WORLD.other / "a")
        self.assertEqual(WORLD.recycle(WORLD.other, "a"), "ok")
        self.assertIn("\nPath=a\n", (WORLD.other / f".Trash-{UID}/info/a.trashinfo").read_text())

    def test_the_administrators_trash_of_a_volume_is_used_if_sticky(self):
        shared = WORLD.other / ".Trash"
        shared.mkdir()
        os.chmod(shared, 0o1777)
        folder = WORLD.fresh_folder(WORLD.other)
        write(folder / "a")
        self.assertEqual(WORLD.recycle(folder, "a"), "ok")
        self.assertEqual(names_in(shared / str(UID) / "files"), ["a"])
        self.assertEqual((shared / str(UID)).stat().st_uid, UID)
        self.assertFalse((WORLD.other / f".Trash-{UID}").exists())
        self.assertIn(bytes(folder / "a"), WORLD.as_user("trash-list"))
        WORLD.restore(bytes(folder / "a"))
        self.assertTrue((folder / "a").exists())

    def test_an_unsafe_trash_of_a_volume_is_not_used(self):
        shared, elsewhere = WORLD.other / ".Trash", WORLD.fresh_folder(WORLD.other)
        os.chmod(elsewhere, 0o1777)

        def plain():
            shared.mkdir()
            os.chmod(shared, 0o777)

        def link():
            shared.symlink_to(elsewhere)

        def foreign():
            shared.mkdir()
            os.chmod(shared, 0o1777)
            (shared / str(UID)).mkdir(mode=0o777)

        for make in plain, link, foreign:
            with self.subTest(make.__name__):
                make()
                folder = WORLD.fresh_folder(WORLD.other)
                write(folder / "a")
                self.assertEqual(WORLD.recycle(folder, "a"), "ok")
                self.assertEqual(names_in(WORLD.other / f".Trash-{UID}/files"), ["a"])
                self.assertEqual(names_in(elsewhere), [])
                if shared.is_symlink():
                    shared.unlink()
                WORLD.empty_by_hand()

    def test_a_volume_trash_that_is_a_link_or_foreign_is_refused(self):
        trash, elsewhere = WORLD.other / f".Trash-{UID}", WORLD.fresh_folder(WORLD.other)
        folder = WORLD.fresh_folder(WORLD.other)
        write(folder / "a")
        trash.symlink_to(elsewhere)
        self.assertEqual(WORLD.recycle(folder, "a"), "Not a directory")
        trash.unlink()
        trash.mkdir()
        self.assertEqual(WORLD.recycle(folder, "a"), "Operation not permitted")
        trash.rmdir()
        self.assertEqual((names_in(folder), names_in(elsewhere)), (["a"], []))

    def test_a_volume_that_cannot_hold_a_trash_keeps_its_item(self):
        folder = WORLD.fresh_folder(WORLD.other)
        write(folder / "a")
        before = facts(folder / "a")
        os.chmod(WORLD.other, 0o755)
        self.assertEqual(WORLD.recycle(folder, "a"), "Permission denied")
        run("mount", "-o", "remount,ro", WORLD.other)
        self.assertEqual(WORLD.recycle(folder, "a"), "Read-only file system")
        run("mount", "-o", "remount,rw", WORLD.other)
        self.assertEqual(facts(folder / "a"), before)
        self.assert_nothing_recorded(WORLD.trash)

    def test_a_bind_mount_counts_as_a_volume(self):
        source, point = WORLD.fresh_folder(), WORLD.fresh_folder()
        run("mount", "--bind", source, point)
        write(point / "a")
        self.assertEqual(WORLD.recycle(point, "a"), "ok")
        self.assertEqual(names_in(point / f".Trash-{UID}/files"), ["a"])
        self.assert_nothing_recorded(WORLD.trash)
        run("umount", point)

    def test_an_item_that_may_not_be_moved_stays(self):
        folder = WORLD.fresh_folder(owner=0)
        write(folder / "a", owner=0)
        self.assertEqual(WORLD.recycle(folder, "a"), "Permission denied")
        self.assertEqual(names_in(folder), ["a"])
        self.assert_nothing_recorded(WORLD.trash)

    def test_a_mount_point_stays(self):
        folder = WORLD.fresh_folder()
        (folder / "point").mkdir()
        run("mount", "-t", "tmpfs", "tmpfs", folder / "point")
        self.assertIn(WORLD.recycle(folder, "point"), ["Device or resource busy", "Permission denied"])
        self.assert_nothing_recorded(WORLD.trash)
        run("umount", folder / "point")

    def test_an_item_in_which_a_folder_is_mounted_stays(self):
        WORLD.console(USER)
        folder, bound = WORLD.fresh_folder(), WORLD.fresh_folder(owner=0)
        make_tree(folder / "A.app")
        write(bound / "precious", owner=0)
        run("mount", "--bind", bound, folder / "A.app/Contents/inner")
        self.addCleanup(run, "umount", folder / "A.app/Contents/inner")
        for recycle in WORLD.recycle, WORLD.recycle_as_root:
            self.assertEqual(recycle(folder, "A.app"), "Device or resource busy")
            self.assertEqual(names_in(folder / "A.app/Contents/inner"), ["precious"])
            self.assertEqual(bound.stat().st_uid, 0)
            self.assert_nothing_recorded(WORLD.trash)

    def test_a_full_disk_keeps_the_item(self):
        folder = WORLD.fresh_folder()
        write(folder / "a")
        self.assertEqual(WORLD.recycle(folder), "ok")
        filler = WORLD.volume / "filler"
        with open(filler, "wb") as file:
            try:
                while True:
                    file.write(bytes(1 << 16))
                    file.flush()
                    os.fsync(file.fileno())
            except OSError:
                pass
        try:
            self.assertEqual(WORLD.recycle(folder, "a"), "No space left on device")
            self.assertEqual((folder / "a").read_bytes(), b"content")
            self.assert_nothing_recorded(WORLD.trash)
            other = WORLD.fresh_folder(WORLD.other)
            write(other / "b")
            self.assertEqual(WORLD.recycle(other, "b"), "ok")
        finally:
            filler.unlink()

    def test_the_superuser_uses_the_console_users_trash(self):
        WORLD.console(USER)
        folder = WORLD.fresh_folder(owner=0)
        make_tree(folder / "A.app", owner=0)
        write(folder / "a.plist", owner=0, mode=0o600)
        contents = {name: fact for name, fact in facts(folder / "A.app").items()
                    if not stat.S_ISDIR(fact[0])}
        self.assertEqual(WORLD.recycle_as_root(folder, "A.app", "a.plist"), "ok")
        for path in [WORLD.home / ".local", WORLD.trash, WORLD.trash / "files", WORLD.trash / "info",
                     WORLD.home / ".Trash", WORLD.trash / "info/A.app.trashinfo",
                     WORLD.trash / "files/A.app", WORLD.trash / "files/A.app/Contents/inner"]:
            self.assertEqual((os.lstat(path).st_uid, path), (UID, path))
        self.assertEqual({bytes(folder / "A.app"), bytes(folder / "a.plist")}, set(WORLD.listed()))
        moved = facts(WORLD.trash / "files/A.app")
        self.assertEqual({name: moved[name] for name in contents}, contents)
        self.assertEqual((WORLD.trash / "files/a.plist").stat().st_uid, 0)
        WORLD.as_user("gio", "trash", "--empty", bus=True)
        self.assert_nothing_recorded(WORLD.trash)

    def test_the_superuser_with_nobody_at_the_console_moves_nothing(self):
        folder = WORLD.fresh_folder(owner=0)
        write(folder / "a", owner=0)
        for user in None, "nobody-known":
            WORLD.console(user)
            self.assertEqual(WORLD.recycle_as_root(folder, "a"), "No such file or directory")
        self.assertEqual(names_in(folder), ["a"])

    def test_the_superuser_is_not_led_astray_by_the_console_user(self):
        WORLD.console(USER)
        secret = WORLD.fresh_folder(owner=0)
        os.chmod(secret, 0o700)
        folder = WORLD.fresh_folder(owner=0)
        write(folder / "a", owner=0)
        for path in WORLD.trash, WORLD.trash / "files", WORLD.trash / "info", WORLD.home / ".local/share":
            with self.subTest(path):
                shutil.rmtree(WORLD.home / ".local", ignore_errors=True)
                for above in reversed([path.parent] + list(path.parent.parents)):
                    if not above.exists():
                        above.mkdir()
                        os.chown(above, UID, UID)
                path.symlink_to(secret)
                self.assertNotEqual(WORLD.recycle_as_root(folder, "a"), "ok")
                path.unlink()
                self.assertEqual((names_in(folder), names_in(secret)), (["a"], []))
        shutil.rmtree(WORLD.home / ".local")

    def test_the_superuser_goes_through_no_link_of_a_user(self):
        WORLD.console(USER)
        folder, elsewhere = WORLD.fresh_folder(), WORLD.fresh_folder(owner=0)
        write(elsewhere / "a", owner=0)
        os.symlink(elsewhere, folder / "link")
        os.lchown(folder / "link", UID, UID)
        self.assertEqual(WORLD.recycle_as_root(folder / "link", "a"), "Too many levels of symbolic links")
        self.assertEqual(names_in(elsewhere), ["a"])

    def test_a_folder_that_only_the_superuser_may_enter_stays_so(self):
        WORLD.console(USER)
        folder = WORLD.fresh_folder(owner=0)
        make_tree(folder / "A.app", owner=0)
        write(folder / "A.app/Contents/program", owner=0, mode=0o4755)
        os.chmod(folder / "A.app/Contents", 0o700)
        self.assertEqual(WORLD.recycle_as_root(folder, "A.app"), "ok")
        closed = WORLD.trash / "files/A.app/Contents"
        self.assertEqual((closed.parent.stat().st_uid, closed.stat().st_uid), (UID, 0))
        WORLD.empty_by_hand()

    def test_what_a_hard_link_shares_keeps_its_owner(self):
        WORLD.console(USER)
        folder, elsewhere = WORLD.fresh_folder(), WORLD.fresh_folder(owner=0)
        write(elsewhere / "shared", owner=0, mode=0o600)
        (folder / "A.app").mkdir()
        os.link(elsewhere / "shared", folder / "A.app/file")
        os.symlink(elsewhere, folder / "A.app/link")
        self.assertEqual(WORLD.recycle_as_root(folder, "A.app"), "ok")
        self.assertEqual((elsewhere / "shared").stat().st_uid, 0)
        self.assertEqual(elsewhere.stat().st_uid, 0)

    def test_the_superuser_needs_the_users_own_right_to_a_volume(self):
        WORLD.console(USER)
        folder = WORLD.fresh_folder(WORLD.other, owner=0)
        write(folder / "a", owner=0)
        os.chmod(WORLD.other, 0o755)
        self.assertEqual(WORLD.recycle_as_root(folder, "a"), "Permission denied")
        os.chmod(WORLD.other, 0o777)
        self.assertEqual(WORLD.recycle_as_root(folder, "a"), "ok")
        self.assertEqual((WORLD.other / f".Trash-{UID}").stat().st_uid, UID)
        self.assertEqual(names_in(WORLD.other / f".Trash-{UID}/files"), ["a"])


def inside(base, recycle):
    global WORLD
    WORLD = World(base, recycle)
    program = unittest.main(argv=[sys.argv[0], "-v"], exit=False)
    return 0 if program.result.wasSuccessful() else 1


if __name__ == "__main__":
    if sys.argv[1] == "--inside":
        sys.exit(inside(*sys.argv[2:]))
    sys.exit(outside(sys.argv[1]))
