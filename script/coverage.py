"""Prints the lines of each file of the engine and the plug-in that no test reaches, and their share by room.

usage: coverage.py BUILD; BUILD holds what gcov needs. A line counts once, in whatever programs it was compiled.
"""

import collections
import json
import pathlib
import subprocess
import sys

ROOMS = ("engine", "plugin")


def counts(build, root):
    """How often each line of a file ran, by the file's name."""
    lines = collections.defaultdict(collections.Counter)
    for data in build.rglob("*.gcda"):
        told = subprocess.run(["gcov", "--json-format", "--stdout", data], capture_output=True, check=True).stdout
        for part in map(json.loads, told.splitlines()):
            for file in part["files"]:
                path = pathlib.Path(part["current_working_directory"], file["file"]).resolve()
                if any(path.is_relative_to(root / room) for room in ROOMS):
                    for line in file["lines"]:
                        lines[path.relative_to(root)][line["line_number"]] += line["count"]
    return lines


def ranges(numbers):
    """ "3-5, 9" """
    found = []
    for number in sorted(numbers):
        if found and found[-1][1] == number - 1:
            found[-1][1] = number
        else:
            found.append([number, number])
    return ", ".join(str(a) if a == b else f"{a}-{b}" for a, b in found)


def main(build):
    lines = counts(pathlib.Path(build), pathlib.Path.cwd())
    for path, ran in sorted(lines.items()):
        missed = [number for number, count in ran.items() if count == 0]
        if missed:
            print(f"{path}: {ranges(missed)}")
    for room in ROOMS:
        every = [count for path, ran in lines.items() if path.parts[0] == room for count in ran.values()]
        missed = every.count(0)
        print(f"coverage: {room}: {missed} of {len(every)} lines are never reached, {100 * missed / len(every):.2f} %")


main(sys.argv[1])
