#!/usr/bin/env python3
"""run_tests.py PRESET [REGEX]: runs the tests of a build, or those whose names match, and shows what
failed. build/PRESET/tests.log has what all of them said.

Each test has a network of its own, so they run side by side, more of them than there are cores: they
wait for each other most of the time. Those with a fleet wait even more, for a clock that they share
with their fleet: they go beside the others, come first at the processor, and what fails among them
is run up to twice more. What passed is not run again until it, or what it reads, changes (kept.py).
"""
import json
import os
import pathlib
import re
import subprocess
import sys

import kept

ROOT = pathlib.Path(__file__).resolve().parent.parent
BEGIN = re.compile(r"^\d+/\d+ Testing: (\S+)$", re.M)
# What a test starts or reads by its path; the folder before it may be spelt in several ways.
STARTED = ("simulator/loudspeaker-simulator", "src/gui/velmark-network-manager", "firmware/stand-in.bin")


def is_fleet(name):
    return name.startswith("fleet/")


class Test:
    def __init__(self, entry, build, digests):
        self.name = entry["name"]
        command = entry.get("command", [""])  # none: it was not built, which ctest tells
        self.program = pathlib.Path(command[0])
        content = self.program.read_bytes() if self.program.is_file() else b""
        started = [build / path for path in STARTED if self.names(content, path)]
        environment = next((p["value"] for p in entry.get("properties", []) if p["name"] == "ENVIRONMENT"), [])
        self.digest = digests.of([self.program, *started], [*command, *environment])

    @staticmethod
    def names(content, path):
        return path.encode() in content or path.encode("utf-16-le") in content


def tests_of(build, pattern):
    listed = json.loads(subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"],
                                       capture_output=True, text=True, check=True).stdout)
    digests = kept.Digests()
    return [Test(entry, build, digests) for entry in listed["tests"] if re.search(pattern, entry["name"])]


class Run:
    """One ctest, with a log of its own: two in one folder would write into one."""

    def __init__(self, folder, build, tests, options, command=()):
        self.folder = folder
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "CTestTestfile.cmake").write_text(f'subdirs("{build}")\n', encoding="utf-8")
        for name in ("LastTest.log", "LastTestsFailed.log"):
            (folder / "Testing" / "Temporary" / name).unlink(missing_ok=True)
        names = "|".join(re.escape(test.name) for test in tests)
        self.said = open(folder / "said.log", "w+", encoding="utf-8", errors="replace")
        self.process = subprocess.Popen(
            [*command, "ctest", "--test-dir", folder, "--output-on-failure", "--no-tests=error",
             "--tests-regex", f"^({names})$", *options], stdout=self.said, stderr=subprocess.STDOUT)

    def finish(self):
        """Whether all passed, and what they said."""
        passed = self.process.wait() == 0
        self.said.seek(0)
        for line in self.said:
            if not re.match(r"^ +Start |^ *\d+/\d+ Test .* Passed ", line):
                print(line, end="")
        log = self.folder / "Testing" / "Temporary" / "LastTest.log"
        return passed, log.read_text(encoding="utf-8", errors="replace") if log.is_file() else ""

    def failed(self):
        path = self.folder / "Testing" / "Temporary" / "LastTestsFailed.log"
        return path.read_text(encoding="utf-8") if path.is_file() else ""


def begin(preset, build, tests):
    folder = ROOT / "build" / "check" / f"tests-{preset}"
    cores = os.cpu_count()
    fleets = [test for test in tests if is_fleet(test.name)]
    others = [test for test in tests if not is_fleet(test.name)]
    runs = []
    if fleets:
        runs.append(Run(folder / "fleets", build, fleets, ["--parallel", str(cores), "--repeat", "until-pass:3"]))
    if others:
        runs.append(Run(folder / "others", build, others, ["--parallel", str(2 * cores)],
                        ["nice", "-n", "10"] if fleets else []))
    return runs


def sections(log):
    """What each test said, one piece for each time that it ran."""
    marks = list(BEGIN.finditer(log))
    for mark, following in zip(marks, [*marks[1:], None]):
        yield mark[1], log[mark.start():following.start() if following else len(log)]


def what_passed(tests, log, failed):
    """Name, digest and text of each test that passed at once. Of one that was not built the log says
    that it passed; it is listed as failed."""
    failed_names = {line.partition(":")[2] for line in failed.splitlines()}
    digests = {test.name: test.digest for test in tests if test.name not in failed_names}
    said = {}
    for name, text in sections(log):
        said.setdefault(name, []).append(text)
    for name, texts in said.items():
        if name in digests and len(texts) == 1 and re.search(r"^Test Passed\.$", texts[0], re.M):
            yield name, digests[name], texts[0]


def main():
    preset, pattern = sys.argv[1], "".join(sys.argv[2:3])
    build = ROOT / "build" / preset
    tests = tests_of(build, pattern)
    said = {test.name: kept.recall(f"{preset}/{test.name}", test.digest) for test in tests}
    todo = [test for test in tests if said[test.name] is None]
    print(f"{len(todo)} of {len(tests)} test programs; the others are as they were when they passed.", flush=True)
    logs = [text for text in said.values() if text is not None]
    runs = begin(preset, build, todo)
    passed = bool(tests)
    for run in runs:
        run_passed, log = run.finish()
        passed = passed and run_passed
        logs.append(log)
        for name, digest, text in what_passed(todo, log, run.failed()):
            kept.keep(f"{preset}/{name}", digest, text)
    (build / "tests.log").write_text("\n".join(logs), encoding="utf-8")
    failed = build / "Testing" / "Temporary" / "LastTestsFailed.log"
    failed.parent.mkdir(parents=True, exist_ok=True)
    failed.write_text("".join(run.failed() for run in runs), encoding="utf-8")
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
