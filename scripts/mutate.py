#!/usr/bin/env python3
"""What scripts/mutate.sh runs beside its copy of the tree, which is built and stays as it is.

A mutant is compiled beside the tree and linked into a library of its own; the tests find it by the
loader's search path, so nothing else is built or linked. Which tests execute a line was measured
once, by each test's coverage."""
import collections
import concurrent.futures
import dataclasses
import difflib
import functools
import hashlib
import json
import os
import pathlib
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

OUTPUT = pathlib.Path.cwd()
COPY = OUTPUT / "copy"
BUILD = COPY / "build" / "dev"
LIBRARIES = ("rules", "services", "widgets", "window")
JOBS = int(os.environ.get("JOBS", "2"))
# Seconds that the tests of one mutant may take, measured without it; 0: all that execute the line.
BUDGET = float(os.environ.get("BUDGET", "0"))
# Folders of tests/ whose tests are asked; all when nothing is said.
FOLDERS = os.environ.get("TESTS", "").split()

# The formatter puts a space on each side of an operator, and none inside template brackets.
OPERATORS = {" == ": " != ", " != ": " == ", " < ": " <= ", " <= ": " < ", " > ": " >= ",
             " >= ": " > ", " && ": " || ", " || ": " && ", " + ": " - ", " - ": " + ",
             " * ": " / ", " / ": " * ", " += ": " -= ", " -= ": " += ", "++": "--", "--": "++",
             " % ": " * ", " & ": " | ", " | ": " & "}
# Log texts, assertions about our own faults, room that is reserved, and what only the compiler reads.
SPARED = re.compile(r"^\s*(#|//|using |namespace|template|static_assert|Q_OBJECT)"
                    r"|\bq(Debug|Info|Warning|Critical|Fatal)\b|FATAL_ASSERT|Q_ASSERT|Q_UNREACHABLE"
                    r"|\breserve\(|\bsqueeze\(|setObjectName\(")
STATEMENT = re.compile(r"^(\s{4,})((?!return|break|continue|delete|throw|case|default|else|const |auto )"
                       r"[A-Za-z_][\w:.\[\]>*-]*(?:\([^;]*\)| [-+|&]?= [^;]*));\s*(//.*)?$")
CALL = re.compile(r"\b(?!max\b|min\b)[A-Za-z_]\w*\((?P<first>[\w.]+(?:\(\))?), (?P<second>[\w.]+(?:\(\))?)\)")


@dataclasses.dataclass
class Place:
    path: str  # inside the copy
    line: int  # from 0
    kind: str
    old: str
    new: str  # the line as it becomes

    def key(self):
        return f"{self.path}|{self.old.strip()}|{self.new.strip()}"

    def text(self):
        return f"{self.path}:{self.line + 1}: {self.kind}: {self.old.strip()}  ->  {self.new.strip()}"


@dataclasses.dataclass
class Test:
    name: str
    command: list
    environment: dict
    folder: str
    seconds: float = 0


# ---- places -----------------------------------------------------------------------------------

def without_texts(line):
    """The same length, without what stands in quotes and comments."""
    line = re.sub(r'"(?:[^"\\]|\\.)*"|\'(?:[^\'\\]|\\.)*\'', lambda match: "_" * len(match[0]), line)
    return re.sub(r"//.*", lambda match: "_" * len(match[0]), line)


def operators_of(line, bare):
    for operator, other in OPERATORS.items():
        for match in re.finditer(re.escape(operator), bare):
            if operator in (" * ", " & ") and re.match(r"\s*(const )?[A-Z]\w* [*&] ", bare):
                continue  # a declaration
            yield "operator", line[:match.start()] + other + line[match.end():]


def constants_of(line, bare):
    for match in re.finditer(r"(?<![\w.])\d+(?:\.\d+)?(?=[^\w.]|[uUfFlL]+\b|$)", bare):
        old = match[0]
        new = str(float(old) * 2 + 1) if "." in old else str(int(old) + 1)
        yield "constant", line[:match.start()] + new + line[match.end():]
    for match in re.finditer(r"\b(true|false)\b", bare):
        new = "false" if match[0] == "true" else "true"
        yield "constant", line[:match.start()] + new + line[match.end():]


def others_of(line, bare):
    match = re.match(r"^(\s*(?:\} else )?(?:if|while) \()(.*)(\)(?: \{)?)$", bare)
    if match and ";" not in match[2] and match[2].count("(") == match[2].count(")"):
        begin, end = match.span(2)
        yield "condition", f"{line[:begin]}!({line[begin:end]}){line[end:]}"
    match = STATEMENT.match(line)
    if match:
        yield "left out", f"{match[1]}{{}}"
    for match in CALL.finditer(bare):
        if match["first"] != match["second"]:
            first, second = match.span("first"), match.span("second")
            yield "swapped", (line[:first[0]] + line[second[0]:second[1]] + ", "
                              + line[first[0]:first[1]] + line[second[1]:])


def places_in(folder):
    found = []
    for path in sorted(folder.rglob("*.cpp") if folder.is_dir() else [folder]):
        for number, line in enumerate(path.read_text(encoding="utf-8").split("\n")):
            if SPARED.search(line):
                continue
            bare = without_texts(line)
            for changes in (operators_of, constants_of, others_of):
                found += [Place(str(path.relative_to(COPY)), number, kind, line, new)
                          for kind, new in changes(line, bare)]
    return found


# ---- running a test ---------------------------------------------------------------------------

# A signal that is ignored stays so in whatever is started: a shell's "&" and nohup ignore some, which
# the tests of these signals would take for a fault.
def limits():
    for number in (signal.SIGHUP, signal.SIGINT, signal.SIGQUIT, signal.SIGTERM):
        signal.signal(number, signal.SIG_DFL)
    resource.setrlimit(resource.RLIMIT_AS, (6 << 30, 6 << 30))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def run_test(test, own, function="", library_path="", profile="/dev/null", timeout=600.0):
    """The failed function (or what else went wrong), or nothing when the test is green. `own` is a
    folder for what the test writes."""
    shutil.rmtree(own, ignore_errors=True)
    (own / "config").mkdir(parents=True)
    environment = dict(os.environ, **test.environment)
    environment |= {"QT_QPA_PLATFORM": "offscreen", "XDG_CONFIG_HOME": str(own / "config"),
                    "LLVM_PROFILE_FILE": profile, "LD_LIBRARY_PATH": library_path}
    command = test.command + ([function] if function else [])
    process = subprocess.Popen(command, cwd=test.folder, env=environment, stdin=subprocess.DEVNULL,
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                               errors="replace", start_new_session=True, preexec_fn=limits)
    hung = threading.Event()

    def stop():
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass

    timer = threading.Timer(timeout, lambda: (hung.set(), stop()))
    timer.start()
    failed = ""
    for line in process.stdout:
        match = re.match(r"(?:FAIL!|XPASS) *: \w+::(\w+)", line)
        if match:
            failed = match[1]
            break
    timer.cancel()
    if failed:
        stop()
    code = process.wait()
    stop()  # what it started
    process.stdout.close()
    if failed:
        return failed
    return "hangs" if hung.is_set() else "ends badly" if code != 0 else ""


# ---- coverage: which tests execute a line -----------------------------------------------------

def all_tests():
    listed = json.loads(subprocess.run(["ctest", "--show-only=json-v1"], cwd=BUILD, check=True,
                                       capture_output=True, text=True).stdout)["tests"]
    tests = []
    for test in listed:
        if "/" not in test["name"] or "command" not in test or not os.path.exists(test["command"][0]):
            continue
        if FOLDERS and test["name"].split("/")[0] not in FOLDERS:
            continue
        properties = {entry["name"]: entry["value"] for entry in test["properties"]}
        environment = dict(entry.split("=", 1) for entry in properties.get("ENVIRONMENT", []))
        tests.append(Test(test["name"], test["command"], environment,
                          properties.get("WORKING_DIRECTORY", str(BUILD / "tests"))))
    return tests


def lines_of(profiles, own):
    """What stands executed in the profiles: file -> line numbers from 0."""
    merged = own / "merged"
    subprocess.run(["llvm-profdata", "merge", "-sparse", "-o", merged, *profiles], check=True)
    objects = [part for library in LIBRARIES for part in ("-object", library_file(library))]
    text = subprocess.run(["llvm-cov", "export", "-format=lcov", f"-instr-profile={merged}",
                           "-skip-functions", *objects[1:]], check=True, capture_output=True, text=True).stdout
    covered, name = collections.defaultdict(list), ""
    for line in text.split("\n"):
        if line.startswith("SF:"):
            name = os.path.relpath(line[3:], COPY)
        elif line.startswith("DA:") and name.startswith("src/"):
            number, count = line[3:].split(",")[:2]
            if count != "0":
                covered[name].append(int(number) - 1)
    return covered


def cover(test):
    """Of one test: what it executes and how long it takes. Nothing when it is red without a mutant."""
    own = pathlib.Path(tempfile.mkdtemp(prefix="cover-", dir=OUTPUT))
    try:
        for _ in range(2):
            shutil.rmtree(own / "profiles", ignore_errors=True)
            started = time.monotonic()
            red = run_test(test, own / "run", profile=f"{own}/profiles/%p-%m.profraw")
            seconds = time.monotonic() - started
            if not red:
                return {"seconds": seconds, "lines": lines_of(list((own / "profiles").iterdir()), own)}
        print(f"{test.name} is red without any change ({red}) and is left out", flush=True)
        return None
    finally:
        shutil.rmtree(own, ignore_errors=True)


def file_hash(paths):
    digest = hashlib.sha256()
    for path in paths:
        digest.update(pathlib.Path(path).read_bytes())
    return digest.hexdigest()


def keep_sources():
    """The sources as they are covered now, and the folder's name: lines found in it later are told by
    it where they stand then."""
    paths = sorted((COPY / "src").rglob("*.cpp"))
    name = file_hash(paths)[:16]
    for path in paths:
        kept = OUTPUT / "sources" / name / path.relative_to(COPY)
        if not kept.exists():
            kept.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(path, kept)
    return name


@functools.lru_cache(maxsize=None)
def moved_lines(snapshot, path):
    """Per line of a kept source where it stands now; lines that changed go with those beside them."""
    before, now = OUTPUT / "sources" / snapshot / path, COPY / path
    if not before.exists() or not now.exists():
        return {}
    if before.read_bytes() == now.read_bytes():
        return None
    places = collections.defaultdict(list)
    matcher = difflib.SequenceMatcher(None, before.read_text().split("\n"), now.read_text().split("\n"), False)
    for tag, first, last, new_first, new_last in matcher.get_opcodes():
        if tag == "equal":
            for line in range(first, last):
                places[line].append(new_first + line - first)
        elif tag == "insert":
            places[first - 1] += range(new_first, new_last)
        else:
            for line in range(first, last):
                places[line] += range(new_first, new_last)
    return places


def lines_now(entry, path):
    places = moved_lines(entry["sources"], path)
    lines = entry["lines"][path]
    return lines if places is None else {now for line in lines for now in places.get(line, [])}


def coverage_of(tests):
    """Kept per test in coverage.json, until the test changes."""
    kept_path = OUTPUT / "coverage.json"
    kept = json.loads(kept_path.read_text()) if kept_path.exists() else {}
    snapshot = keep_sources()
    stamps = {test.name: file_hash(sorted((COPY / "tests").glob(f"{test.name}*.cpp"))) for test in tests}
    missing = [test for test in tests if kept.get(test.name, {}).get("stamp") != stamps[test.name]]
    if missing:
        print(f"measuring what {len(missing)} tests execute", flush=True)
    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        for test, found in zip(missing, pool.map(cover, missing)):
            kept[test.name] = (found | {"stamp": stamps[test.name], "sources": snapshot} if found
                               else {"seconds": 0, "lines": {}})  # without a stamp: tried again
            kept_path.write_text(json.dumps(kept))
    by_line = collections.defaultdict(list)
    for test in tests:
        entry = kept[test.name]
        test.seconds = entry["seconds"]
        for path in entry["lines"]:
            for line in lines_now(entry, path):
                by_line[path, line].append(test)
            by_line[path, None].append(test)
    return by_line


def words(name):
    return set(re.split(r"[/_.]", name)) - {"gui", "test", "src", "tests", "device", "rules", "cpp",
                                            "fleet", "window", "widgets", "services"}


def executing(place, by_line):
    """The tests that execute the line; a constant outside functions counts for the whole file."""
    is_constant = re.match(r"(const|constexpr|inline) ", place.old)
    return by_line[place.path, place.line] or (by_line[place.path, None] if is_constant else [])


def tests_for(place, by_line, tried=0):
    """Quick ones first, and those with a word of the file in their name; without the first `tried`."""
    def worth(test):
        return (test.seconds + 0.2) * (0.2 if words(place.path) & words(test.name) else 1)

    chosen, total = [], 0.0
    for test in sorted(executing(place, by_line), key=worth)[tried:]:
        total += test.seconds
        if BUDGET and chosen and total > BUDGET:
            break
        chosen.append(test)
    return chosen


# ---- building a mutant ------------------------------------------------------------------------

def library_file(library):
    return str(next(BUILD.rglob(f"lib{library}.so")))


def read_commands():
    """Per source its compiler's words, and per library its linker's."""
    compilers, linkers = {}, {}
    for entry in json.loads((BUILD / "compile_commands.json").read_text()):
        path = os.path.relpath(entry["file"], COPY)
        library = re.search(r" -o CMakeFiles/(\w+)\.dir/", entry["command"])
        if path.startswith("src/") and library and library[1] in LIBRARIES:
            parts = shlex.split(entry["command"])
            start = next(i for i, part in enumerate(parts) if part.endswith("clang++"))
            parts = [part for part in parts[start:] if not part.startswith(("-fprofile", "-fcoverage"))]
            compilers[path] = (library[1], parts, entry["directory"])
    for library in LIBRARIES:
        target = os.path.relpath(library_file(library), BUILD)
        text = subprocess.run(["ninja", "-t", "commands", target], cwd=BUILD, check=True,
                              capture_output=True, text=True).stdout.strip().split("\n")[-1]
        parts = shlex.split(text)
        start = next(i for i, part in enumerate(parts) if part.endswith("clang++"))
        end = next((i for i in range(start, len(parts)) if parts[i] == "&&"), len(parts))
        linkers[library] = parts[start:end]
    return compilers, linkers


class Workshop:
    """A worker's own folder, in which mutants are built."""

    def __init__(self, number, compilers, linkers):
        self.folder = OUTPUT / f"worker-{number}"
        shutil.rmtree(self.folder, ignore_errors=True)
        self.libraries = self.folder / "libraries"
        self.libraries.mkdir(parents=True)
        self.compilers, self.linkers = compilers, linkers

    def compile(self, place, line, extra=()):
        """The object with that line in the place, or nothing when that is no source."""
        library, parts, directory = self.compilers[place.path]
        original = COPY / place.path
        lines = original.read_text(encoding="utf-8").split("\n")
        lines[place.line] = line
        source = self.folder / original.name
        source.write_text("\n".join(lines), encoding="utf-8")
        target = self.folder / "mutant.o"
        parts = list(parts)
        self.original_object = parts[parts.index("-o") + 1]
        parts[parts.index("-o") + 1] = str(target)
        parts[parts.index("-c") + 1] = str(source)
        done = subprocess.run(parts + ["-w", "-Wno-error", "-iquote", str(original.parent), *extra],
                              cwd=directory, capture_output=True, check=False)
        return target if done.returncode == 0 else None

    def build(self, place):
        """The folder of a library with the mutant in it, or nothing when it is no candidate."""
        if place.path not in self.compilers:
            return None
        target = self.compile(place, place.new)
        if not target:
            return None
        for other in self.libraries.iterdir():
            other.unlink()
        library = self.compilers[place.path][0]
        parts = list(self.linkers[library])
        parts[parts.index("-o") + 1] = str(self.libraries / f"lib{library}.so")
        parts = [str(target) if os.path.normpath(part) == os.path.normpath(self.original_object) else part
                 for part in parts]
        assert str(target) in parts, place.path
        done = subprocess.run(parts, cwd=BUILD, capture_output=True, check=False)
        return self.libraries if done.returncode == 0 else None

    def is_equal_to_the_compiler(self, place):
        """Whether the optimised code is the same with and without the mutant."""
        codes = []
        for line in (place.old, place.new):
            parts = self.compile(place, line, ("-O2", "-S", "-g0"))
            codes.append(parts.read_bytes() if parts else line)
        return codes[0] == codes[1]

    def is_noticed(self, test, libraries):
        """Red with the mutant, red again, and green without it: what disturbs a test once is none."""
        own, timeout = self.folder / "run", max(20.0, 8 * test.seconds)
        red = run_test(test, own, "", str(libraries), timeout=timeout)
        if not red or red == "hangs":
            return red
        function = red if red not in ("ends badly", "initTestCase", "cleanupTestCase") else ""
        again = run_test(test, own, function, str(libraries), timeout=timeout)
        if not again:
            function = ""
            again = run_test(test, own, "", str(libraries), timeout=timeout)
        if again and not run_test(test, own, function, timeout=max(timeout, 60)):
            return red
        return ""


# ---- the run ----------------------------------------------------------------------------------

class Results:
    """Appended to a file as they come, so that a run can be stopped and taken up again."""

    def __init__(self):
        self.path = OUTPUT / "results.jsonl"
        lines = self.path.read_text().splitlines() if self.path.exists() else []
        self.all = {entry["key"]: entry for entry in map(json.loads, lines)}
        self.lock = threading.Lock()

    def add(self, place, outcome, note, seconds):
        entry = {"key": place.key(), "outcome": outcome, "note": note, "text": place.text(),
                 "seconds": round(seconds, 1)}
        with self.lock:
            self.all[entry["key"]] = entry
            with self.path.open("a") as file:
                file.write(json.dumps(entry) + "\n")
            if outcome != "no candidate":
                counts = self.counts()
                print(f"{counts['caught']}/{counts['caught'] + counts['survived']} {outcome} {note}: "
                      f"{place.text()} ({seconds:.0f} s)", flush=True)

    def counts(self):
        return collections.Counter(entry["outcome"] for entry in self.all.values())

    def done(self):
        counts = self.counts()
        return counts["caught"] + counts["survived"]


def judge(place, shop, by_line, results, tried=0):
    started = time.monotonic()

    def tell(outcome, note):
        results.add(place, outcome, note, time.monotonic() - started)

    libraries = shop.build(place)
    if not libraries:
        return tell("no candidate", "")
    tests = tests_for(place, by_line, tried)
    for test in tests:
        function = shop.is_noticed(test, libraries)
        if function:
            return tell("caught", f"by {test.name}::{function}")
    if shop.is_equal_to_the_compiler(place):
        return tell("no candidate", "the compiler makes the same of it")
    return tell("survived", f"{tried + len(tests)} of {len(executing(place, by_line))} tests")


def found_again(entries, places):
    """The places of earlier results in the tree as it is now."""
    by_key = {}
    for place in places:
        by_key.setdefault(place.key(), place)
    return [by_key[entry["key"]] for entry in entries if entry["key"] in by_key]


def main():
    again = sys.argv[1] == "again"
    folder = COPY / (sys.argv[2] if len(sys.argv) > 2 else "src")
    seed = int(os.environ.get("SEED", "1"))
    tests = all_tests()
    by_line = coverage_of(tests)
    compilers, linkers = read_commands()
    places = places_in(folder)
    results = Results()
    if again:
        chosen = found_again([e for e in results.all.values() if e["outcome"] == "survived"], places)
        count = len(results.all) + len(chosen)
    else:
        count = int(sys.argv[1])
        random.Random(seed).shuffle(places)
        chosen = [place for place in places if place.key() not in results.all]
    print(f"{len(tests)} tests, {len(places)} places, seed {seed}", flush=True)
    waiting = iter(chosen)
    lock = threading.Lock()

    def work(number):
        shop = Workshop(number, compilers, linkers)
        while True:
            with lock:
                place = next(waiting, None) if again or results.done() < count else None
            if place is None:
                return
            try:
                judge(place, shop, by_line, results)
            except OSError as error:
                print(f"{place.text()}: {error}", flush=True)

    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        for future in [pool.submit(work, number) for number in range(JOBS)]:
            future.result()
    survivors = sorted(e["text"] for e in results.all.values() if e["outcome"] == "survived")
    caught = results.counts()["caught"]
    total = caught + len(survivors)
    print(f"\n{caught} of {total} caught ({100 * caught / max(total, 1):.1f} %), seed {seed}; the survivors:")
    print("\n".join(survivors))


main()
