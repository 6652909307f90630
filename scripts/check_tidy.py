#!/usr/bin/env python3
"""check_tidy.py PRESET [FOLDERS OR FILES...]: clang-tidy over every source, or over what is named,
with the compiler's options of a preset that has been built.

Sources that are compiled together are read together: the toolkit's headers, which take most of the
time, are then read once for all of them. What was clean is not read again until one of the sources,
a header of ours that it includes, or .clang-tidy changes.

The checks that follow a function's paths stop at what is included, so the sources of the programs are
copied into one; tests, benchmarks, fuzzers and soak have to keep only what their folder's .clang-tidy
says.

Each source of the programs also has to compile by itself, without the others and the precompiled
headers of its library: it includes what it uses of ours. The toolkit's headers are precompiled, once
for all: they take most of the time.
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
# How many states of a function the path-sensitive checks walk through: with ten thousand they take half
# as long as all the rest, with fifty thousand as long again.
STATES = 10000
# Tables are as long as the things that they list.
TABLES = {"make_product_table"}

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"]', re.M)
CLEAN = ROOT / "build" / "tidy" / "clean"
TOGETHER = ROOT / "build" / "tidy" / "together"


def read(path):
    return path.read_text(encoding="utf-8")


def own_files():
    return [path for folder in FOLDERS for suffix in ("*.cpp", "*.h")
            for path in (ROOT / folder).rglob(suffix)]


class Digests:
    """Digests of sources with all of ours that they include."""

    def __init__(self):
        self.texts = {path: read(path) for path in own_files()}
        self.common = "".join(read(path) for path in sorted(ROOT.glob("**/.clang-tidy"))
                              if "build" not in path.parts)

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


def compiler_options(entry, precompiled):
    """With the precompiled headers, when the compiler is clang, or without."""
    words = shlex.split(entry["command"])
    while words and not re.search(r"\b(c|g|clang)\+\+[-0-9.]*$", words[0]):
        words.pop(0)
    precompiled = precompiled and "-include-pch" in words
    options = []
    words = iter(words[1:])
    for word in words:
        if word in ("-o", "-c") or (word in ("-include", "-Xclang") and not precompiled):
            next(words)
        elif word not in ("-Winvalid-pch", "-Werror"):
            options.append(word)
    return options


class Unit:
    """What is compiled in one go: a source of ours, or a file made of several."""

    def __init__(self, entry, digests):
        self.path = pathlib.Path(entry["file"])
        self.sources = [self.path] if self.path in digests.texts else self.included(digests)
        self.is_program = bool(self.sources) and name_of(self.sources[0]).startswith(PROGRAMS)
        self.options = compiler_options(entry, not self.is_program)
        both = "".join(digests.of(source) for source in self.sources)
        self.digest = hashlib.sha256(both.encode()).hexdigest()[:40]

    def included(self, digests):
        if not re.search(r"/Unity/|/groups/", str(self.path)):
            return [] # of the toolkit's making
        names = [pathlib.Path(name) for _, name in INCLUDE.findall(read(self.path))]
        return [name for name in names if name in digests.texts and name.suffix == ".cpp"]

    def is_clean(self):
        return (CLEAN / self.digest).exists()

    def mark_clean(self):
        (CLEAN / self.digest).touch()


class Bundle:
    """Tests or benchmarks that are programs by themselves, read together as if they were one: what they
    include takes longer than they do."""

    is_program = False
    SIZE = 16
    # These stand outside of all namespaces.
    NOT_IN_A_NAMESPACE = re.compile(r"Q_DECLARE_METATYPE|operator new")

    def __init__(self, name, units):
        self.path = TOGETHER / f"{name}.cpp"
        self.sources = [unit.path for unit in units]
        self.options = list(max(units, key=lambda unit: len(unit.options)).options)
        for unit in units: # where their own generated files are
            self.options += [word for word in unit.options
                             if word.startswith(("-I", "-D")) and word not in self.options]
        both = "".join(unit.digest for unit in units)
        self.digest = hashlib.sha256(both.encode()).hexdigest()[:40]
        subprocess.run([sys.executable, ROOT / "tests" / "group.py", self.path, *self.sources], check=True)

    is_clean = Unit.is_clean
    mark_clean = Unit.mark_clean

    @classmethod
    def takes(cls, unit, digests):
        name = name_of(unit.path)
        return (len(unit.sources) == 1 and name.startswith(("tests/", "bench/"))
                and not name.startswith("tests/support/")
                and not cls.NOT_IN_A_NAMESPACE.search(digests.texts[unit.path]))


def bundled(units, digests):
    """The units, but single tests and benchmarks in bundles."""
    singles = {}
    for unit in units:
        if Bundle.takes(unit, digests):
            singles.setdefault(name_of(unit.path).split("/", 1)[0], []).append(unit)
        else:
            yield unit
    for folder, members in singles.items():
        for first in range(0, len(members), Bundle.SIZE):
            yield Bundle(f"{folder}-{first}", members[first:first + Bundle.SIZE])


def name_of(path):
    return str(path.relative_to(ROOT))


def put_together(unit, path):
    """Writes the sources one after the other; returns where each line of it comes from."""
    lines, origins = [], []
    for source in unit.sources:
        for number, line in enumerate(read(source).split("\n"), 1):
            lines.append(line)
            origins.append((name_of(source), number))
    path.write_text("\n".join(lines) + "\n", encoding="utf-8")
    return origins


def tidy(path, options, checks):
    command = ["clang-tidy", f"--config-file={ROOT}/.clang-tidy", "--quiet", f"--checks={checks}",
               f"--header-filter=^{ROOT}/({'|'.join(FOLDERS)})/", str(path), "--", *options,
               "-Xclang", "-analyzer-config", "-Xclang", f"max-nodes={STATES}"]
    run = subprocess.run(command, cwd=ROOT, capture_output=True, text=True)
    return run.stdout + run.stderr


DIAGNOSTIC = re.compile(r"^(?P<file>/[^:\n]*):(?P<line>\d+):\d+: (?:error|warning): (?P<text>.*)$")
# What the toolkit calls by its name, on an object: the tests themselves.
CAN_BE = re.compile(r"method '(\w+)' can be made (?:static|const)")
SLOTS = re.compile(r"slots:\n(.*?)(?=^(?:public|protected|private)|^\};)", re.M | re.S)
TOO_LARGE = re.compile(r"function '(?:\w+::)*([\w~]+)' exceeds recommended size")


def is_slot(file, name):
    declared = "".join(SLOTS.findall(read(pathlib.Path(file))))
    return re.search(rf"\b{name}\(", declared) is not None


def complaints(said, path, origins):
    """The diagnostics with what belongs to them, at the places that they come from."""
    found, keeps = [], False
    for line in said.split("\n"):
        match = DIAGNOSTIC.match(line)
        if match:
            too_large = TOO_LARGE.search(match["text"])
            keeps = not (too_large and too_large[1] in TABLES)
            can_be = CAN_BE.search(match["text"])
            keeps = keeps and not (can_be and is_slot(match["file"], can_be[1]))
            keeps = keeps and "[bugprone-suspicious-include" not in match["text"]
        elif line.startswith("error: "): # of no line: all that follows may come from it
            keeps = True
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


def checks_of(unit):
    """Those that the folder's own .clang-tidy sets, for editors too."""
    folder = name_of(unit.sources[0]).split("/", 1)[0]
    return re.search(r"^Checks: '(.*)'$", read(ROOT / folder / ".clang-tidy"), re.M)[1]


def read_unit(number, unit):
    if not unit.is_program:
        said = complaints(tidy(unit.path, unit.options, checks_of(unit)), unit.path, None)
    elif len(unit.sources) == 1:
        said = complaints(tidy(unit.path, unit.options, ""), unit.path, None)
    else:
        path = TOGETHER / f"{number}.cpp"
        origins = put_together(unit, path)
        # A file of the same folder is included by its name alone.
        folders = sorted({f"-I{source.parent}" for source in unit.sources})
        said = complaints(tidy(path, [*unit.options, *folders], ""), path, origins)
    if not said:
        unit.mark_clean()
    return said


TOOLKIT = re.compile(r'^[ \t]*#[ \t]*include[ \t]*<(Q\w+)>', re.M)


class ToolkitHeaders:
    """The toolkit's headers that the sources with the same parts of it include, precompiled."""

    def __init__(self, options):
        self.options = options
        self.names = set()

    def add(self, unit, digests):
        for source in unit.sources:
            self.names.update(TOOLKIT.findall(digests.texts[source]))

    def make(self):
        text = "".join(f"#include <{name}>\n" for name in sorted(self.names))
        key = hashlib.sha256(("\n".join(self.options) + text).encode()).hexdigest()[:20]
        header = TOGETHER / f"toolkit-{key}.h"
        header.write_text(text, encoding="utf-8")
        run = subprocess.run(["clang++", "-x", "c++-header", "-w", *self.options, str(header),
                              "-o", f"{header}.pch"], cwd=ROOT, capture_output=True, text=True)
        # The other options differ from library to library, and mean nothing to these headers.
        return [] if run.returncode else ["-include-pch", f"{header}.pch", "-Xclang", "-fno-validate-pch"]


def parts_of_toolkit(unit):
    return " ".join(sorted(word for word in unit.options if word.startswith("-DQT_")))


def compiles_alone(source, digest, options, headers):
    mark = CLEAN / f"alone-{digest}"
    run = subprocess.run(["clang++", "-fsyntax-only", "-w", *options, *headers.result(), str(source)],
                         cwd=ROOT, capture_output=True, text=True)
    if run.returncode == 0:
        mark.touch()
        return ""
    return f"{name_of(source)} does not compile by itself:\n{run.stderr}"


def begin_compiling_alone(pool, units, digests):
    """Of each source of the programs that has changed since it last did."""
    todo = [(unit, source, digests.of(source)) for unit in units if unit.is_program
            for source in unit.sources]
    todo = [(unit, source, digest) for unit, source, digest in todo
            if not (CLEAN / f"alone-{digest}").exists()]
    headers = {}
    for unit, _, _ in todo:
        headers.setdefault(parts_of_toolkit(unit), ToolkitHeaders(unit.options)).add(unit, digests)
    made = {parts: pool.submit(one.make) for parts, one in headers.items()}
    return [pool.submit(compiles_alone, source, digest, unit.options, made[parts_of_toolkit(unit)])
            for unit, source, digest in todo]


def wanted_units(preset, wanted, digests):
    seen = set()
    for entry in json.loads(read(ROOT / "build" / preset / "compile_commands.json")):
        unit = Unit(entry, digests)
        chosen = [source for source in unit.sources
                  if source not in seen
                  and any(source == name or name in source.parents for name in wanted)]
        if chosen:
            seen.update(unit.sources)
            yield unit


def main():
    preset = sys.argv[1]
    wanted = [pathlib.Path(name).resolve() for name in sys.argv[2:]]
    wanted = wanted or [ROOT / folder for folder in FOLDERS]
    CLEAN.mkdir(parents=True, exist_ok=True)
    TOGETHER.mkdir(parents=True, exist_ok=True)
    digests = Digests()
    units = list(wanted_units(preset, wanted, digests))
    if not sys.argv[2:]:
        units = list(bundled(units, digests))
    todo = [unit for unit in units if not unit.is_clean()]
    print(f"{len(todo)} of {len(units)} units with {sum(len(unit.sources) for unit in units)} sources "
          "have changed since they were last clean.", flush=True)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        # The large ones first, or one would be left over at the end.
        order = sorted(todo, key=lambda unit: (unit.is_program, len(unit.sources)), reverse=True)
        work = [pool.submit(read_unit, number, unit) for number, unit in enumerate(order)]
        work += begin_compiling_alone(pool, units, digests)
        is_clean = True
        for done in concurrent.futures.as_completed(work):
            if done.result():
                print(done.result(), flush=True)
                is_clean = False
    return 0 if is_clean else 1


sys.exit(main())
