#!/usr/bin/env python3
"""What scripts/mutate.sh runs inside its copy of the tree."""
import concurrent.futures
import dataclasses
import os
import pathlib
import random
import re
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import tests_of  # noqa: E402

ROOT = tests_of.ROOT
BUILD = ROOT / "build" / "dev"
OUTPUT = ROOT.parent
JOBS = int(os.environ.get("JOBS", "2"))
TIMEOUT = 240

# The formatter puts a space on each side of an operator, and none inside template brackets.
OPERATORS = {" == ": " != ", " != ": " == ", " < ": " <= ", " <= ": " < ", " > ": " >= ",
             " >= ": " > ", " && ": " || ", " || ": " && ", " + ": " - ", " - ": " + ",
             " * ": " / ", " / ": " * ", " += ": " -= ", " -= ": " += ", "++": "--", "--": "++",
             " % ": " * ", " & ": " | ", " | ": " & "}
# Log texts, assertions about our own faults, and what only the compiler reads.
SPARED = re.compile(r"^\s*(#|//|using |namespace|template|static_assert|Q_OBJECT)"
                    r"|\bq(Debug|Info|Warning|Critical|Fatal)\b|FATAL_ASSERT|Q_ASSERT|Q_UNREACHABLE")
STATEMENT = re.compile(r"^(\s{4,})((?!return|break|continue|delete|throw|case|default|else|const |auto )"
                       r"[A-Za-z_][\w:.\[\]>*-]*(?:\([^;]*\)| [-+|&]?= [^;]*));\s*(//.*)?$")
CALL = re.compile(r"\b[A-Za-z_]\w*\((?P<first>[\w.]+(?:\(\))?), (?P<second>[\w.]+(?:\(\))?)\)")


@dataclasses.dataclass
class Place:
    path: pathlib.Path
    line: int  # from 0
    kind: str
    text: str  # the line as it becomes

    def name(self):
        return f"{self.path.relative_to(ROOT)}:{self.line + 1}"


def without_texts(line):
    """The same length, without what stands in quotes and comments."""
    line = re.sub(r'"(?:[^"\\]|\\.)*"|\'(?:[^\'\\]|\\.)*\'', lambda match: "_" * len(match[0]), line)
    return re.sub(r"//.*", lambda match: "_" * len(match[0]), line)


def changes_of(line):
    """Pairs of a kind and the line with that change."""
    bare = without_texts(line)
    for operator, other in OPERATORS.items():
        for match in re.finditer(re.escape(operator), bare):
            if operator in (" * ", " & ") and re.match(r"\s*(const )?[A-Z]\w* [*&] ", bare):
                continue # a declaration
            yield "operator", line[:match.start()] + other + line[match.end():]
    for match in re.finditer(r"(?<![\w.])\d+(?:\.\d+)?(?=[^\w.]|[uUfFlL]+\b|$)", bare):
        old = match[0]
        new = str(float(old) * 2 + 1) if "." in old else str(int(old) + 1)
        yield "constant", line[:match.start()] + new + line[match.end():]
    for match in re.finditer(r"\b(true|false)\b", bare):
        new = "false" if match[0] == "true" else "true"
        yield "constant", line[:match.start()] + new + line[match.end():]
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
            if not SPARED.search(line) and line[:1] != "*":
                found += [Place(path, number, kind, text) for kind, text in changes_of(line)]
    return found


def run(command, timeout=None):
    environment = dict(os.environ, QT_QPA_PLATFORM="offscreen")
    try:
        return subprocess.run(command, cwd=BUILD, timeout=timeout, env=environment,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, errors="replace").returncode
    except subprocess.TimeoutExpired:
        return -1


def build(targets):
    return run(["cmake", "--build", ".", "--parallel", str(JOBS), "--target", *targets]) == 0


def is_red(test):
    command = ["ctest", "--tests-regex", f"^{test}$", "--timeout", str(TIMEOUT)]
    return run(command) != 0 and run(command) != 0


def first_red(tests):
    """The name of a test that notices, or nothing."""
    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        for start in range(0, len(tests), JOBS):
            batch = tests[start:start + JOBS]
            if not build([test.split("/")[1] for test in batch]):
                return "the linker"
            for test, red in zip(batch, pool.map(is_red, batch)):
                if red:
                    return test
    return ""


def is_compiled(place):
    """Whether the source still compiles; without, the place is no candidate."""
    source = str(place.path.relative_to(ROOT))
    entries = subprocess.run(["ninja", "-t", "targets", "all"], cwd=BUILD, capture_output=True,
                             text=True).stdout
    objects = [line.split(":")[0] for line in entries.split("\n") if f"{source}.o:" in line]
    return build(objects) if objects else False


def main():
    count = int(sys.argv[1])
    folder = ROOT / (sys.argv[2] if len(sys.argv) > 2 else "src")
    seed = int(os.environ.get("SEED", "1"))
    places = places_in(folder)
    random.Random(seed).shuffle(places)
    print(f"{len(places)} places, seed {seed}", flush=True)
    log = open(OUTPUT / "results.txt", "a", encoding="utf-8")
    caught, survivors, broken_tests = 0, [], set()
    for place in places:
        if caught + len(survivors) >= count:
            break
        started = time.monotonic()
        original = place.path.read_text(encoding="utf-8")
        lines = original.split("\n")
        old = lines[place.line].strip()
        tests = [test for test in tests_of.tests_of([place.path]) if test not in broken_tests]
        lines[place.line] = place.text
        place.path.write_text("\n".join(lines), encoding="utf-8")
        try:
            if not is_compiled(place):
                continue
            red = first_red(tests)
        finally:
            place.path.write_text(original, encoding="utf-8")
        if red and red != "the linker" and red not in checked_green(red):
            broken_tests.add(red)
            print(f"{red} is red without any change, and is left out", flush=True)
            continue
        result = f"{place.name()}: {place.kind}: {old}  ->  {place.text.strip()}"
        if red:
            caught += 1
        else:
            survivors.append(result)
        for output in (sys.stdout, log):
            print(f"{'caught by ' + red if red else 'SURVIVED'}: {result}"
                  f" ({time.monotonic() - started:.0f} s)", file=output, flush=True)
    total = caught + len(survivors)
    print(f"\n{caught} of {total} caught ({100 * caught // max(total, 1)} %); the survivors:")
    print("\n".join(sorted(survivors)))


GREEN = set()


def checked_green(test):
    """The tests that are known to be green as long as nothing is broken."""
    if test not in GREEN and build([test.split("/")[1]]) and not is_red(test):
        GREEN.add(test)
    return GREEN


main()
