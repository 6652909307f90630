#!/usr/bin/env python3
"""Counts what makes the main window large, and prints what is beyond its bound (with -v: all)."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEADER = ROOT / "src/gui/gui.h"
SEES_HEADER = re.compile(r'^\s*#\s*include\s+["<](gui/)?gui\.h[">]', re.MULTILINE)


def sources(*folders):
    for folder in folders:
        for path in sorted((ROOT / folder).rglob("*")):
            if path.suffix in (".cpp", ".h"):
                yield path, path.read_text(encoding="utf-8")


def without_comments(text):
    return re.sub(r"//[^\n]*", "", text)


def class_statements():
    """The class's declarations with the access that each stands under; bodies are emptied."""
    text = without_comments(HEADER.read_text(encoding="utf-8"))
    body = text[text.index("class Gui : "):]
    body = body[body.index("{") + 1:body.rindex("};")].replace("Q_OBJECT", "")
    # A function's body may hold braces of its own; a field's initialiser may, too.
    pattern = re.compile(r"\{[^{}]*\}")
    while pattern.search(body):
        body = pattern.sub("\x01;", body)
    access = "private"
    for statement in body.split(";"):
        while match := re.match(r"\s*(public|protected|private|signals)(\s+slots)?:", statement):
            access = match[1]
            statement = statement[match.end():]
        statement = statement.strip()
        if statement and statement != "\x01":
            yield access, statement


def figures():
    functions = [(access, text) for access, text in class_statements() if "(" in text]
    fields = [(access, text) for access, text in class_statements() if "(" not in text]
    in_src = list(sources("src"))
    everywhere = in_src + list(sources("simulator", "tests", "bench", "fuzz", "soak", "art"))
    defining = [path for path, text in in_src if re.search(r"^[^\s/].*\bGui::~?\w+\(", text, re.M)]
    inline = any("\x01" in text for _, text in functions)
    strangers = [path for path, text in everywhere
                 if not SEES_HEADER.search(text) and path != HEADER
                 and re.search(r"\bGui\s*[*&]", without_comments(text))]
    return [
        ("lines of gui.h", len(HEADER.read_text(encoding="utf-8").splitlines()), 180),
        ("member functions", len(functions), 75),
        ("fields", len(fields), 30),
        ("public fields", sum(access == "public" for access, _ in fields), 0),
        ("files that define members", len(defining) + inline, 10),
        ("files outside the window that take a Gui", len(strangers), 0),
        ("files of src that see gui.h", sum(bool(SEES_HEADER.search(t)) for _, t in in_src), 12),
        ("translation units that see gui.h",
         sum(bool(SEES_HEADER.search(t)) for p, t in everywhere if p.suffix == ".cpp"), 30),
    ]


def main():
    is_beyond = False
    for name, count, bound in figures():
        is_beyond |= count > bound
        if count > bound or "-v" in sys.argv:
            print(f"{name}: {count}, at most {bound}")
    return 1 if is_beyond else 0


if __name__ == "__main__":
    sys.exit(main())
