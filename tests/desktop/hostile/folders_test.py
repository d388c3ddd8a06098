"""Folders that may be removed when they are empty, and only seem to be."""

import os
import socket
import subprocess

import hostile_world as world
from things import APPLICATIONS, MACHINES_SUPPORT, METADATA, SUITE, UID, \
    USERS_SUPPORT, bundle, chain, file, folder, link
import catalogue
from session import USER

PLACES = (USERS_SUPPORT, MACHINES_SUPPORT, SUITE)
LOCKED = "/Library/Locked"
DEPTH = 3000


def lock(path, mode=0o700, owner=0):
    os.chown(path, owner, owner)
    os.chmod(path, mode)
    return path


def valuables(path):
    """A folder of what nobody may lose, hidden or not; only the superuser may look into it."""
    for name in ("Old (Disabled)/rules.dat", ".settings", "film.mov", *METADATA):
        file(f"{path}/{name}", 0)
    return lock(path)


def full_folder(path):
    return file(path + "/film.mov")


def locked_file(path):
    return file(path, 0, 0o600)


def listed_but_not_entered(path):
    return lock(valuables(path), 0o744)


def bound_socket(path):
    with socket.socket(socket.AF_UNIX) as ours:
        ours.bind("/tmp/socket")  # its name would be too long elsewhere
    os.rename("/tmp/socket", path)


def link_to_empty(path):
    return link(path, folder("/Library/Empty"))


def link_to_full(path):
    return link(path, os.path.dirname(full_folder("/Library/Full")))


def link_to_locked(path):
    return link(path, LOCKED if os.path.exists(LOCKED) else valuables(LOCKED))


def link_to_nowhere(path):
    return link(path, "/Library/Nowhere")


class Shapes(world.WithAdministration):
    """What is not an empty folder is there afterwards, whole."""

    def check(self, make, *names):
        """Where each of the suite's folders should be, or below it, stands what `make` makes."""
        for place in PLACES:
            path = "/".join((place, *names))
            folder(os.path.dirname(path))
            make(path)
        self.uninstall(*world.GRANTING)
        self.assert_went_through()

    def test_in_a_folders_place(self):
        for make in (valuables, file, locked_file, link_to_full, link_to_empty, link_to_locked,
                     link_to_nowhere, os.mkfifo, bound_socket):
            with self.subTest(make.__name__):
                self.setUp()
                self.check(make)

    def test_in_a_folder_that_is_empty_otherwise(self):
        for make in (valuables, link_to_empty, link_to_locked, link_to_nowhere, os.mkfifo,
                     listed_but_not_entered):
            with self.subTest(make.__name__):
                self.setUp()
                self.check(make, "one", "two")

    def test_under_the_name_of_metadata(self):
        for make in (full_folder, valuables, link_to_full, link_to_empty, link_to_nowhere,
                     os.mkfifo, bound_socket):
            for names in ((METADATA[0],), ("one", METADATA[1])):
                with self.subTest(make.__name__, names=names):
                    self.setUp()
                    self.check(make, *names)

    def test_under_awkward_names(self):
        for name in ("n" * 255, os.fsdecode(b"\xff\xfe films"), "line\nbreak", "-rf"):
            with self.subTest(name):
                self.setUp()
                self.check(valuables, name)

    def test_folder_of_the_users_that_the_user_may_not_list(self):
        for place in (USERS_SUPPORT, SUITE, SUITE + "/one"):
            with self.subTest(place):
                self.setUp()
                lock(os.path.dirname(full_folder(place)), 0o300, UID)
                self.uninstall(*world.GRANTING)
                self.assert_kept(place + "/film.mov")
                self.assert_went_through()


class Applications(world.WithAdministration):
    def setUp(self):
        super().setUp()
        for name in catalogue.APPLICATIONS + catalogue.SHARED_APPLICATIONS:
            if name.startswith("Quorvane/"):
                bundle("/Applications/" + name)

    def test_locked(self):
        for place in (APPLICATIONS, SUITE):
            for without in ((), ("shared", "config")):
                with self.subTest(place, without=without):
                    self.setUp()
                    lock(place)
                    self.uninstall(*world.GRANTING, without=without)
                    self.assert_went_through()

    def test_others_suite_beside_ours(self):
        valuables(APPLICATIONS + "/Other Suite")
        self.uninstall(*world.GRANTING)
        self.assert_kept(APPLICATIONS + "/Other Suite/film.mov")
        self.assert_removed(SUITE)
        self.assert_went_through()

    def test_others_suite_and_none_of_ours(self):
        subprocess.run(["rm", "-r", APPLICATIONS], check=True)
        valuables(APPLICATIONS + "/Other Suite")
        self.uninstall(*world.GRANTING)
        self.assert_kept(APPLICATIONS + "/Other Suite/film.mov")
        self.assert_went_through()

    def test_behind_a_link(self):
        valuables(SUITE + "/Other Suite")
        os.rename(APPLICATIONS, "/opt/Quorvane")
        os.symlink("/opt/Quorvane", APPLICATIONS)
        self.uninstall(*world.GRANTING)
        self.assert_kept(APPLICATIONS)
        self.assert_went_through()

    def test_support_folder_with_what_stays(self):
        valuables(MACHINES_SUPPORT)
        for without in ((), ("shared", "config")):
            self.uninstall(*world.GRANTING, without=without)
            self.assert_kept(MACHINES_SUPPORT + "/Old (Disabled)/rules.dat",
                             MACHINES_SUPPORT + "/.settings")


class Mounts(world.WithAdministration):
    """What is mounted in a folder is none of its own."""

    def check(self):
        self.uninstall(*world.GRANTING)
        self.assert_went_through()

    def test_locked_folder_shown_elsewhere(self):
        self.mount(SUITE + "/one", "--bind", valuables(LOCKED))
        self.check()

    def test_volume_in_a_folders_place(self):
        for place in (APPLICATIONS, MACHINES_SUPPORT, USERS_SUPPORT):
            valuables(self.mount(place, "-t", "tmpfs", "volume") + "/inner")
        self.check()

    def test_empty_volume_with_metadata(self):
        """Not even the metadata of another volume goes."""
        volume = self.mount(SUITE + "/one", "-t", "tmpfs", "volume")
        file(volume + "/.DS_Store")
        self.check()
        self.assert_kept(volume + "/.DS_Store")

    def test_what_a_volume_covers(self):
        covered = full_folder(SUITE + "/one")
        volume = self.mount(SUITE + "/one", "-t", "tmpfs", "volume")
        self.check()
        subprocess.run(["umount", volume], check=True)
        self.volumes.remove(volume)
        self.assertTrue(os.path.exists(covered), "lost under the volume that covered it")
        subprocess.run(["mount", "-t", "tmpfs", "volume", volume], check=True)


class Depths(world.WithAdministration):
    """Trees whose paths are longer than the system takes."""

    def check(self, at_the_bottom):
        for place in PLACES:
            bottom = chain(place + "/deep", DEPTH)
            try:
                at_the_bottom(bottom)
                os.chown(place + "/deep", os.stat(place).st_uid, os.stat(place).st_gid)
            finally:
                os.close(bottom)
        self.uninstall(*world.GRANTING)
        self.assert_went_through()

    def test_empty(self):
        self.check(lambda bottom: None)

    def test_file_at_the_bottom(self):
        def make(bottom):
            os.close(os.open("film.mov", os.O_CREAT | os.O_WRONLY, 0o644, dir_fd=bottom))
        self.check(make)

    def test_locked_folder_at_the_bottom(self):
        def make(bottom):
            os.mkdir("locked", 0o700, dir_fd=bottom)
            os.mkdir("locked/film", 0o700, dir_fd=bottom)
            os.mkfifo("locked/pipe", dir_fd=bottom)
        self.check(make)


class Empty(world.WithAdministration):
    """Folders that are empty indeed go."""

    def test_with_metadata_on_every_level(self):
        for place in PLACES:
            for level in (place, place + "/one", place + "/one/two", place + "/three"):
                for name in METADATA:
                    file(f"{level}/{name}")
        self.uninstall(*world.GRANTING)
        self.assert_removed(*PLACES, APPLICATIONS)
        self.assert_went_through()

    def test_metadata_with_another_name_elsewhere(self):
        film = file("/Library/film.mov")
        os.makedirs(SUITE)
        os.link(film, SUITE + "/.DS_Store")
        self.uninstall(*world.GRANTING)
        self.assertEqual(self.after[film], self.before[film])

    def test_of_another_owner(self):
        folder(USERS_SUPPORT + "/one/two", 0)
        folder(APPLICATIONS + "/one", UID)
        self.uninstall(*world.GRANTING)
        self.assert_went_through()


class Superuser(world.HostileWorld):
    """An uninstaller that needs nobody's password is as careful."""

    def setUp(self):
        super().setUp()
        for path, content in (("seats/seat0", "ACTIVE=c1\n"),
                              ("sessions/c1", f"CLASS=user\nUSER={USER}\n")):
            file("/run/systemd/" + path, content=content.encode())

    def test_shapes(self):
        for make, *names in ((file,), (link_to_empty,), (os.mkfifo,), (full_folder, ".DS_Store"),
                             (os.mkfifo, ".DS_Store"), (link_to_full, "Icon\r")):
            with self.subTest(make.__name__, names=names):
                self.setUp()
                for place in PLACES:
                    path = "/".join((place, *names))
                    folder(os.path.dirname(path))
                    make(path)
                self.uninstall(superuser=True)
                self.assert_trashed(self.mine, self.machines)

    def test_mounts(self):
        volume = self.mount(SUITE + "/one", "-t", "tmpfs", "volume")
        file(volume + "/.DS_Store")
        self.uninstall(superuser=True)
        self.assert_kept(volume + "/.DS_Store")


if __name__ == "__main__":
    world.main()
