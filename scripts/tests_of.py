#!/usr/bin/env python3
"""tests_of.py FILES...: the tests that can notice a change of these files, nearest first, as
"folder/name", the name that ctest knows.

A test reaches what it includes, and by each header the source of the same name; what includes
gui/gui.h reaches all member files of the window, and what starts a fleet the simulator. Among equally near tests those come first whose
name has a word in common with a file's.
"""
import collections
import os
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*"([^"]+)"', re.M)
WORDS_OF_ALL = {"gui", "test", "simulator", "fleet", "device", "rules"}


def load():
    files = {}
    for folder in ("src", "simulator", "tests"):
        for suffix in ("*.cpp", "*.h"):
            for path in (ROOT / folder).rglob(suffix):
                files[path] = path.read_text(encoding="utf-8")
    return files


def edges_of(files):
    members = [path for path in files if re.match(r"gui(_.*)?\.cpp$", path.name)]
    edges = collections.defaultdict(list)
    for path, text in files.items():
        for name in INCLUDE.findall(text):
            for base in (path.parent, ROOT / "src", ROOT, ROOT / "tests"):
                candidate = pathlib.Path(os.path.normpath(base / name))
                if candidate in files:
                    edges[path].append(candidate)
                    break
        if path.suffix == ".h" and path.with_suffix(".cpp") in files:
            edges[path].append(path.with_suffix(".cpp"))
        if path.name == "gui.h":
            edges[path] += members
        if path.name in ("fleet.h", "simulator_case.h"): # starts the simulator
            edges[path] += [other for other in files if other.parent.name == "simulator"
                            and other.suffix == ".cpp"]
    return edges


def distances(start, edges):
    """From a file to all that it reaches."""
    known = {start: 0}
    waiting = collections.deque([start])
    while waiting:
        path = waiting.popleft()
        for other in edges[path]:
            if other not in known:
                known[other] = known[path] + 1
                waiting.append(other)
    return known


def words(path):
    return set(re.split(r"[_.]", path.stem)) - WORDS_OF_ALL


def tests_of(changed):
    files = load()
    edges = edges_of(files)
    found = []
    for test in sorted((ROOT / "tests").glob("*/*_test.cpp")):
        edges[test] += test.parent.glob(f"{test.stem}_*.cpp") # the parts of the same program
        reach = distances(test, edges)
        near = [(not words(path) & words(test), reach[path]) for path in changed if path in reach]
        if near:
            is_slow = test.parent.name == "fleet"
            found.append((is_slow, *min(near), f"{test.parent.name}/{test.stem}"))
    return [entry[-1] for entry in sorted(found)]


if __name__ == "__main__":
    wanted = [pathlib.Path(name).resolve() for name in sys.argv[1:]]
    print("\n".join(tests_of(wanted)))
