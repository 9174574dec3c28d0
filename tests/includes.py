#!/usr/bin/env python3
"""Fails when a file includes one of a folder beside or above its own (see docs/architecture.md).

usage: includes.py SOURCE_DIR
"""
import pathlib
import re
import sys

# From the ground upwards. Folders of one line do not know each other; a file directly in a folder
# lies below that folder's subfolders.
FLOORS = [
    ["server/logger"],
    ["io"],
    ["io/files", "io/formats", "io/archive"],
    ["io/vfs"],
    ["cob"],
    ["bos", "model"],
    ["sim"],
    ["session"],
    ["authoring", "diagnostics"],
    ["server"],
]
FLOOR = {folder: height for height, floor in enumerate(FLOORS) for folder in floor}


def place(path):
    """The folder of the list that a file lies in, the innermost one."""
    return max((folder for folder in FLOOR if path.startswith((folder + "/", folder + "."))),
               key=len, default=None)


def main(root):
    wrong = []
    for top in sorted({folder.split("/")[0] for folder in FLOOR}):
        for file in sorted([*root.glob(top + "/**/*.h"), *root.glob(top + "/**/*.cpp")]):
            name = file.relative_to(root).as_posix()
            here = place(name)
            for included in re.findall(r'^#include "(.+)"', file.read_text(), re.MULTILINE):
                there = place(included)
                if there != here and (there is None or FLOOR[there] >= FLOOR[here]):
                    wrong.append(f"{name} includes {included}")
    print("\n".join(wrong) or "every include points downwards")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
