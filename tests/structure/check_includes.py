#!/usr/bin/env python3
"""Checks that includes point down and that only platform/linux and platform/qt know their system.

Usage: check_includes.py ROOT
Prints each violation as FILE:LINE: REASON and exits with 1 when there is one.
"""

import re
import sys
from pathlib import Path

# From top to bottom: a folder may include itself and what has a greater number.
LAYERS = {
    "app": 0,
    "programs": 0,
    "kit/files": 1,
    "kit/auth": 2,
    "kit/tasks": 3,
    "kit/log": 4,
    "kit/paths": 5,
    "kit/base": 6,
    "platform": 7,
}
# Where the headers of an operating system or toolkit are at home.
SYSTEM_FOLDERS = ("platform/linux", "platform/qt")

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
CONDITIONAL = re.compile(r"^\s*#\s*(if|ifdef|ifndef|elif)\b")


def layer_of(path):
    """The layer that a path belongs to; None for tests, benchmarks and the system folders."""
    if path.startswith(SYSTEM_FOLDERS):
        return None
    return next((layer for layer in LAYERS if path.startswith(layer + "/")), None)


def is_standard(header):
    """Whether an angle-bracket header is of the C++ standard library (no ".h", no folder)."""
    return re.fullmatch(r"[a-z_]+", header) is not None


def violations(path, text):
    layer = layer_of(path)
    for number, line in enumerate(text.splitlines(), 1):
        if layer and CONDITIONAL.match(line):
            yield number, "conditional compilation outside the system folders"
        include = INCLUDE.match(line)
        if not include:
            continue
        quoted, header = include.group(1) == '"', include.group(2)
        if layer and not quoted and not is_standard(header):
            yield number, f"<{header}> is no header of the standard library"
        if layer and quoted:
            yield from upward(number, layer, header)
        if path.startswith(SYSTEM_FOLDERS) and quoted and header.startswith("kit/"):
            yield number, f"a platform service includes {header} of the kit"


def upward(number, layer, header):
    target = layer_of(header)
    if header.startswith(SYSTEM_FOLDERS):
        yield number, f"{layer} includes {header} of a system"
    elif target is None:
        yield number, f"{header} belongs to no layer"
    elif target != layer and LAYERS[target] <= LAYERS[layer]:
        yield number, f"{layer} includes {header}, which does not stand below it"


def sources(root):
    for folder in ("app", "programs", "kit", "platform"):
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                yield path


def main():
    root = Path(sys.argv[1])
    found = count = 0
    for path in sources(root):
        count += 1
        relative = path.relative_to(root).as_posix()
        for number, reason in violations(relative, path.read_text(encoding="utf-8")):
            print(f"{relative}:{number}: {reason}")
            found += 1
    if count == 0:
        print("no sources found")
        return 1
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
