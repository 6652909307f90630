#!/usr/bin/env python3
"""kept.py NAME PROGRAMS... -- COMMAND...: runs COMMAND, unless it passed before with just these programs.

What a test, or a step of the check, comes to depends on the programs that run, on the files that they
read and on the computer. None of it changes by itself, so what passed is kept until one of them
changes: a change of one source then costs the tests of the programs that are made of it. A failure is
never kept. With KEPT=no everything runs; what passes is kept anew.
"""
import hashlib
import os
import pathlib
import platform
import re
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDER = ROOT / "build" / "check" / "kept"

# What programs are made of: they tell of it.
SOURCES = (".cpp", ".h", ".cmake", "CMakeLists.txt", "CMakePresets.json", ".clang-format", ".clang-tidy")
# Read by people, by what makes the guide, which is built anew, and by the check of the documents,
# which always runs; packed as they are.
FOR_READERS = re.compile(r"^docs/(developer/|(performance|reliability|kept-oddities)\.md$)")
# What in the environment may lengthen a test, or change what the toolkit does.
OF_ENVIRONMENT = re.compile(r"^(PATH|TZ|LANG|LC_.*|QT_.*|(A|L|UB)SAN_OPTIONS|CI|KILLS|UPDATED_DEVICES|VELMARK_.*"
                            r"|.*_SECONDS|.*_PICTURES)$")


def asked(*command):
    run = subprocess.run(command, cwd=ROOT, capture_output=True, text=True)
    return run.stdout if run.returncode == 0 else ""


def is_wanted():
    return os.environ.get("KEPT") != "no"


class Digests:
    """What a result depends on, as digests."""

    def __init__(self):
        self.known = {}
        self.common = self.text_digest("\n".join([
            platform.release(), f"user {os.geteuid()}",  # some tests skip what only root may do
            asked("dpkg-query", "--show", "--showformat=${Package} ${Version}\n"),
            *(f"{name}={value}" for name, value in sorted(os.environ.items()) if OF_ENVIRONMENT.match(name)),
            *(f"{name} {self.of_file(ROOT / name)}" for name in self.files_that_are_read())]))

    @staticmethod
    def text_digest(text):
        return hashlib.sha256(text.encode()).hexdigest()

    @staticmethod
    def files_that_are_read():
        listed = asked("git", "ls-files", "-z", "--cached", "--others", "--exclude-standard")
        # Without a list nothing is as it was: no file has this name.
        names = listed.split("\0") if listed else [f"unlisted {time.time_ns()}"]
        return sorted({name for name in names if name and not name.endswith(SOURCES)
                       and not FOR_READERS.match(name)})

    def of_file(self, path):
        path = pathlib.Path(path).resolve()
        if path not in self.known:
            self.known[path] = hashlib.sha256(path.read_bytes()).hexdigest() if path.is_file() else "none"
        return self.known[path]

    def of(self, programs, words=()):
        """Of a run of these programs with these words."""
        return self.text_digest("\n".join([self.common, *words, *(self.of_file(path) for path in programs)]))


def recall(name, digest):
    """What was said when it passed, or nothing."""
    path = FOLDER / name
    if not is_wanted() or not path.is_file():
        return None
    first, _, said = path.read_text(encoding="utf-8", errors="replace").partition("\n")
    return said if first == digest else None


def keep(name, digest, said):
    path = FOLDER / name
    path.parent.mkdir(parents=True, exist_ok=True)
    fresh = path.with_suffix(".new")
    fresh.write_text(f"{digest}\n{said}", encoding="utf-8")
    fresh.replace(path)


def main():
    name, *words = sys.argv[1:]
    cut = words.index("--")
    programs, command = words[:cut], words[cut + 1:]
    digest = Digests().of(programs, command)
    if recall(name, digest) is not None:
        print("Nothing that it runs or reads has changed since it passed.")
        return 0
    outcome = subprocess.run(command, cwd=ROOT).returncode
    if outcome == 0:
        keep(name, digest, "")
    return outcome


if __name__ == "__main__":
    sys.exit(main())
