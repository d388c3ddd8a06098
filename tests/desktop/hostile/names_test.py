"""Items whose names are taken in the Trash all go there, and none takes another's place."""

import os

import hostile_world as world
from things import HOME, MACHINES_SUPPORT, SUITE, TRASH, bundle, file, folder, \
    link, thrown_away
import catalogue

# One tool stands in two places, and its name may occur in a third: these come in the same second.
THRICE = "Encoder Medic.app"
PLACES = (f"{SUITE}/{THRICE}", f"/Applications/{THRICE}", f"{MACHINES_SUPPORT}/{THRICE}")
ROUNDS = 4
LONGEST = 255


def content(path):
    with open(path, "rb") as stream:
        return stream.read()


class Names(world.WithAdministration):
    def check(self, *paths):
        """All these go, though they are the superuser's, with one question."""
        self.uninstall(*world.GRANTING, patience=60)
        self.assert_trashed(*paths)
        self.assert_went_through()

    def check_each(self, make, *paths):
        for path in paths:
            make(path)
        self.check(*paths)

    def test_installed_and_removed_again_and_again(self):
        """As many times in a second as the machine can."""
        paths = ["/Applications/" + name
                 for name in catalogue.APPLICATIONS[:6] + catalogue.SHARED_APPLICATIONS]
        paths += PLACES[2:]
        for number in range(ROUNDS):
            for path in paths:
                bundle(path, content=f"edition {number}")
            preferences = [file(f"{home}/Library/Preferences/{catalogue.PREFERENCES[0]}",
                                content=b"edition %d" % number) for home in (HOME, "")]
            file(self.mine)
            file(self.machines)
            self.check(*paths, *preferences)

    def test_bundles_of_a_name_that_is_taken(self):
        thrown_away(bundle(f"{TRASH}/files/{THRICE}"), "/old/" + THRICE)
        self.check_each(bundle, *PLACES)

    def test_files_of_a_name_that_is_taken(self):
        """A file would take the place of another without any error."""
        thrown_away(file(f"{TRASH}/files/{THRICE}"), "/old/" + THRICE)
        self.check_each(file, *PLACES)

    def test_files_and_bundles_in_turn(self):
        thrown_away(file(f"{TRASH}/files/{THRICE}"), "/old/" + THRICE)
        bundle(PLACES[0])
        file(PLACES[1])
        folder(PLACES[2])
        self.check(*PLACES)

    def test_names_that_end_where_the_extension_begins(self):
        """Items without an extension get a name that ends in a dot."""
        for name in ("Engine", "Engine."):
            thrown_away(file(f"{TRASH}/files/{name}"), "/old/" + name)
        self.check_each(file, f"{MACHINES_SUPPORT}/Engine", f"{MACHINES_SUPPORT}/Engine.")

    def test_link_that_leads_nowhere_bears_the_name(self):
        for name in (THRICE, "licence.dat"):
            thrown_away(link(f"{TRASH}/files/{name}", "/nowhere"), "/old/" + name)
        self.check_each(file, f"{MACHINES_SUPPORT}/licence.dat", *PLACES)

    def test_link_to_a_folder_bears_the_name(self):
        for name in (THRICE, "licence.dat"):
            thrown_away(link(f"{TRASH}/files/{name}", folder(HOME + "/Documents")), "/old/" + name)
        file(f"{MACHINES_SUPPORT}/licence.dat")
        self.check_each(bundle, *PLACES)
        self.assertEqual(os.listdir(HOME + "/Documents"), [])

    def test_record_without_an_item_and_item_without_a_record(self):
        folder(TRASH + "/files")
        file(f"{TRASH}/info/{THRICE}.trashinfo", content=b"[Trash Info]\nPath=/old\n"
             b"DeletionDate=2015-03-04T05:06:07\n")
        file(f"{TRASH}/files/licence.dat")
        self.check_each(file, f"{MACHINES_SUPPORT}/licence.dat", *PLACES)

    def test_longest_names(self):
        names = ["n" * LONGEST, "n" * (LONGEST - 4) + ".dat", "映" * (LONGEST // 3),
                 os.fsdecode(b"\xff" * LONGEST)]
        for taken in (False, True):
            with self.subTest(taken=taken):
                self.setUp()
                if taken:
                    for name in names:
                        file(f"{TRASH}/files/{name}")
                for name in names:
                    file(f"{MACHINES_SUPPORT}/{name}/content")
                self.check(*(f"{MACHINES_SUPPORT}/{name}" for name in names))

    def test_awkward_names(self):
        names = ["-rf", "line\nbreak.app", os.fsdecode(b"\xff\xfe.app"), "100% %41.app",
                 "back\\slash", " ", "a.b.c..d"]
        for name in names:
            thrown_away(file(f"{TRASH}/files/{name}"), "/old/name")
        self.check_each(file, *(f"{MACHINES_SUPPORT}/{name}" for name in names))

    def test_trash_of_the_users_own_making(self):
        """Where the kit knows the Trash, a folder stands: it has no records, but keeps all items."""
        own = folder(HOME + "/.Trash")
        places = (*PLACES, self.machines)
        paths = [file(path) for path in (f"{own}/{THRICE}", *places)]
        contents = {content(path): path for path in paths}
        self.uninstall(*world.GRANTING, but=(own, *places))
        left = [f"{own}/{name}" for name in os.listdir(own)]
        left += [place for original, place in self.outcome.moved if original in places]
        left += filter(os.path.exists, places)
        for path in left:
            contents.pop(content(path), None)
        self.assertFalse(list(contents.values()), "another item took their place")


if __name__ == "__main__":
    world.main()
