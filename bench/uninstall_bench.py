"""Measures the whole uninstall against the desktop's own tool given the same items, alternating.

Runs as the superuser of a private world; its argument is the program that runs the uninstall
without windows. Each run has a fresh installation, since a used folder slows later ones down.
"""

import os
import statistics
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../tests/desktop"))

import material
import sample_installation
from session import UID, as_user

ROUNDS = 7
# The peer refuses longer names.
LONGEST_NAME = 240
FOLDERS = ("/Applications", "/Library", "/private", sample_installation.HOME)


def set_up(extra, generation, machine_owner=UID):
    """A fresh installation with this many further entries in the two support folders; answers the
    paths of everything to be moved. What is there for all users is the machine owner's."""
    for folder in FOLDERS:
        os.makedirs(f"/used/{generation}", exist_ok=True)
        os.rename(folder, f"/used/{generation}/{os.path.basename(folder)}")
        os.mkdir(folder)
    os.makedirs("/private/var/db/receipts")
    paths = []
    for item in sample_installation.install(UID, machine_owner):
        if len(os.fsencode(os.path.basename(item.path))) > LONGEST_NAME:
            os.unlink(item.path)
        else:
            paths.append(item.path)
    for number in range(extra):
        folder = sample_installation.SUPPORT[number % 2]
        paths.append(material.file(f"{folder}/Reel {number}.dat"))
    for folder in sample_installation.SUPPORT:
        material.finish(folder, UID)
    os.sync()
    return paths


def measure(command, paths):
    """Milliseconds from start to end of a command that must move all the paths."""
    start = time.perf_counter()
    subprocess.run(as_user(command), stdout=subprocess.DEVNULL, check=False)
    spent = time.perf_counter() - start
    left = [path for path in paths if os.path.lexists(path)]
    if left:
        raise SystemExit(f"{command[0]} left {len(left)} items, such as {left[0]!a}")
    return spent * 1000


def compare(program, extra, generations):
    """Median times of ours and of the peer for the same items."""
    ours, peer = [], []
    for _ in range(ROUNDS):
        ours.append(measure([program], set_up(extra, next(generations))))
        paths = set_up(extra, next(generations))
        peer.append(measure(["gio", "trash", "--", *paths], paths))
    return statistics.median(ours), statistics.median(peer)


def main():
    program = sys.argv[1]
    generations = iter(range(1_000_000))
    entries = len(sample_installation.SUPPORT) * 9
    times = {}
    for factor in (1, 10, 100):
        ours, peer = compare(program, entries * (factor - 1), generations)
        times[factor] = ours
        print(f"figure uninstall-{factor}x-support-files: ours {ours:.1f} ms, "
              f"peer gio-trash {peer:.1f} ms, ratio {ours / peer:.2f} (aim <= 1.00)",
              flush=True)
    first = (times[10] - times[1]) / (9 * entries) * 1000
    then = (times[100] - times[10]) / (90 * entries) * 1000
    print(f"figure uninstall-growth-10x-to-100x: ours {then:.1f} us/item, "
          f"peer growth-1x-to-10x {first:.1f} us/item, ratio {then / first:.2f} "
          f"(aim <= 1.30)")


if __name__ == "__main__":
    main()
