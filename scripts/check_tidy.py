#!/usr/bin/env python3
"""check_tidy.py PRESET [FOLDERS OR FILES...]: clang-tidy over every source of the programs, or over
what is named, with the compiler's options of a preset that has been configured.

A source that was clean is not read again until it, a header of ours that it includes, or
.clang-tidy changes. The others are read in groups, each put together to one source: the
toolkit's headers, which take most of the time, are then read once for all of a group. Sources
whose unnamed namespaces have a name in common are kept apart; tests each get a namespace around
them. A group that does not compile is read one by one, so that what cannot be put together costs
time and nothing else.

Each source of the programs also has to compile without a precompiled header: it includes what it
uses.
"""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDERS = ("src", "simulator", "tests", "bench", "soak", "fuzz")
PROGRAMS = ("src", "simulator")
LARGEST_GROUP = 24
# How many states of a function the path-sensitive checks walk through: a quarter of what they do by
# themselves, in which they take four fifths of all the time.
STATES = 50000
# Tables are as long as the things that they list.
TABLES = {"make_product_table"}

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"]', re.M)
CLEAN = ROOT / "build" / "tidy" / "clean"
GROUPS = ROOT / "build" / "tidy" / "groups"


def read(path):
    return path.read_text(encoding="utf-8")


def own_files():
    return [path for folder in FOLDERS for suffix in ("*.cpp", "*.h")
            for path in (ROOT / folder).rglob(suffix)]


class Digests:
    """Digests of sources with all of ours that they include."""

    def __init__(self):
        self.texts = {path: read(path) for path in own_files()}
        self.common = read(ROOT / ".clang-tidy")

    def included(self, path):
        for _, name in INCLUDE.findall(self.texts[path]):
            for base in (path.parent, ROOT / "src", ROOT, ROOT / "tests", ROOT / "bench"):
                candidate = pathlib.Path(os.path.normpath(base / name))
                if candidate in self.texts:
                    yield candidate
                    break

    def of(self, source):
        seen = {source}
        waiting = [source]
        while waiting:
            for path in self.included(waiting.pop()):
                if path not in seen:
                    seen.add(path)
                    waiting.append(path)
        digest = hashlib.sha256(self.common.encode())
        for path in sorted(seen):
            digest.update(f"{path.relative_to(ROOT)}\n{self.texts[path]}".encode())
        return digest.hexdigest()[:40]


def compiler_options(entry):
    """Without the precompiled headers, which are in the other compiler's format."""
    words = shlex.split(entry["command"])
    while words and not re.search(r"\b(c|g|clang)\+\+[-0-9.]*$", words[0]):
        words.pop(0)
    options = []
    words = iter(words[1:])
    for word in words:
        if word in ("-o", "-c", "-include", "-Xclang"):
            next(words)
        elif word not in ("-Winvalid-pch", "-Werror"):
            options.append(word)
    return tuple(options)


class Source:
    def __init__(self, path, options, digest):
        self.path = path
        self.name = str(path.relative_to(ROOT))
        self.options = options
        self.digest = digest
        self.text = read(path)
        self.is_test = self.name.endswith("_test.cpp")
        self.is_program = self.name.startswith(PROGRAMS)

    def hidden_names(self):
        """What stands at the margin of its unnamed namespaces and of the file, and is not to meet
        its like."""
        names = set(re.findall(r"^(?:struct|class|enum class|enum|using) (\w+)", self.text, re.M))
        for body in re.findall(r"^namespace \{\n(.*?)^\}", self.text, re.M | re.S):
            for line in re.findall(r"^[A-Za-z].*", body, re.M):
                names.update(re.findall(r"\b(\w+)(?=\s*[({=\[;])", line))
        names.update(re.findall(r"^(?:#define|static|int|constexpr|template).*?(\w+)\(", self.text, re.M))
        names.update(re.findall(r"^#define (\w+)", self.text, re.M))
        return names

    def is_clean(self):
        return (CLEAN / self.digest).exists()

    def mark_clean(self):
        (CLEAN / self.digest).touch()


def make_groups(sources):
    groups = []
    for source in sources:
        names = set() if source.is_test else source.hidden_names()
        for group in groups:
            if (group["options"] == source.options and group["is_test"] == source.is_test
                    and len(group["sources"]) < LARGEST_GROUP and not names & group["names"]):
                break
        else:
            group = {"options": source.options, "is_test": source.is_test, "names": set(),
                     "sources": []}
            groups.append(group)
        group["sources"].append(source)
        group["names"] |= names
    return [group["sources"] for group in groups]


def put_together(sources, path):
    """Writes the source; returns where each line of it comes from."""
    lines, origins = [], []

    def add(line, origin=None):
        lines.append(line)
        origins.append(origin)

    if sources[0].is_test:
        for source in sources:
            for bracket, name in INCLUDE.findall(source.text):
                if not name.endswith(".moc"):
                    add(f"#include <{name}>" if bracket == "<" else f'#include "{name}"')
    for number, source in enumerate(sources):
        if source.is_test:
            add(f"namespace group_{number} {{")
        for i, line in enumerate(source.text.split("\n"), 1):
            add(line, (source.name, i))
        if source.is_test:
            add("}")
    path.write_text("\n".join(lines) + "\n", encoding="utf-8")
    return origins


def tidy(path, options, folders):
    command = ["clang-tidy", f"--config-file={ROOT}/.clang-tidy", "--quiet",
               f"--header-filter=^{ROOT}/({'|'.join(FOLDERS)})/", str(path), "--",
               *options, *(f"-I{folder}" for folder in folders),
               "-Xclang", "-analyzer-config", "-Xclang", f"max-nodes={STATES}"]
    run = subprocess.run(command, cwd=ROOT, capture_output=True, text=True)
    return run.stdout + run.stderr


DIAGNOSTIC = re.compile(r"^(?P<file>/[^:\n]*):(?P<line>\d+):\d+: (?:error|warning): (?P<text>.*)$")
TOO_LARGE = re.compile(r"function '(?:\w+::)*([\w~]+)' exceeds recommended size")


def complaints(said, path, origins):
    """The diagnostics with what belongs to them, at the places that they come from."""
    found, keeps = [], False
    for line in said.split("\n"):
        match = DIAGNOSTIC.match(line)
        if match:
            too_large = TOO_LARGE.search(match["text"])
            keeps = not (too_large and too_large[1] in TABLES)
        elif re.match(r"^(\d+ warnings? (generated|treated)|\d+ (warnings?|errors?) and|Suppressed|Use -)", line):
            keeps = False
        if keeps and line:
            found.append(line)
    prefix = f"{path}:"
    for i, line in enumerate(found):
        if origins and line.startswith(prefix):
            number, rest = line[len(prefix):].split(":", 1)
            origin = origins[int(number) - 1]
            if origin:
                found[i] = f"{origin[0]}:{origin[1]}:{rest}"
    return "\n".join(found)


def read_single(source):
    said = complaints(tidy(source.path, source.options, []), source.path, None)
    if not said:
        source.mark_clean()
    return said


def read_group(number, sources):
    if len(sources) == 1:
        return read_single(sources[0])
    path = GROUPS / f"group_{number}.cpp"
    origins = put_together(sources, path)
    folders = sorted({str(source.path.parent) for source in sources})
    said = complaints(tidy(path, sources[0].options, folders), path, origins)
    if "clang-diagnostic-error" in said or "clang-diagnostic-" in said:
        return "\n".join(filter(None, map(read_single, sources)))
    if not said:
        for source in sources:
            source.mark_clean()
    return said


def compiles_alone(source):
    mark = CLEAN / f"alone-{source.digest}"
    if mark.exists():
        return ""
    run = subprocess.run(["clang++", "-fsyntax-only", "-w", *source.options, str(source.path)],
                         cwd=ROOT, capture_output=True, text=True)
    if run.returncode == 0:
        mark.touch()
        return ""
    return f"{source.name} does not compile by itself:\n{run.stderr}"


def main():
    preset = sys.argv[1]
    wanted = [pathlib.Path(name).resolve() for name in sys.argv[2:]]
    wanted = wanted or [ROOT / folder for folder in PROGRAMS]
    CLEAN.mkdir(parents=True, exist_ok=True)
    GROUPS.mkdir(parents=True, exist_ok=True)
    digests = Digests()
    database = json.loads(read(ROOT / "build" / preset / "compile_commands.json"))
    sources = {}
    for entry in database:
        path = pathlib.Path(entry["file"])
        if path in digests.texts and path not in sources:
            if any(path == name or name in path.parents for name in wanted):
                sources[path] = Source(path, compiler_options(entry), digests.of(path))
    todo = [source for _, source in sorted(sources.items()) if not source.is_clean()]
    groups = make_groups(todo)
    print(f"{len(todo)} of {len(sources)} sources have changed since they were last clean; "
          f"reading them in {len(groups)} groups.", flush=True)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        # The large ones first, or one would be left over at the end.
        order = sorted(groups, key=len, reverse=True)
        work = [pool.submit(read_group, number, group) for number, group in enumerate(order)]
        work += [pool.submit(compiles_alone, s) for s in sources.values() if s.is_program]
        is_clean = True
        for done in concurrent.futures.as_completed(work):
            if done.result():
                print(done.result(), flush=True)
                is_clean = False
    return 0 if is_clean else 1


sys.exit(main())
