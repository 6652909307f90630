#!/usr/bin/env python3
"""group.py OUTPUT SOURCES...: writes the source of a program that is all of these tests, each source in
a namespace of its own, and runs the one by whose name it is called: its links have the tests' names.

What the tests include stands before the namespaces, which they include again in vain.
"""
import pathlib
import re
import sys

INCLUDE = re.compile(r'^#include (?!"\w+\.moc")[<"].*$', re.M)

output, *names = sys.argv[1:]
tests = [pathlib.Path(name) for name in names]
includes = dict.fromkeys(line for test in tests for line in INCLUDE.findall(test.read_text("utf-8")))
mains = [test for test in tests if test.stem.endswith("_test")]
namespaces = [f'namespace {test.stem} {{\n#include "{test}"\n}}' for test in tests]
choices = [f'    if (name == "{test.stem}")\n        return {test.stem}::main(argc, argv);' for test in mains]
pathlib.Path(output).write_text("\n".join([
    *includes,
    # What moc's files include.
    "#include <QtCore/qbytearray.h>", "#include <QtCore/qmetatype.h>", "#include <memory>",
    *namespaces,
    "int main(int argc, char **argv)\n{",
    "    const std::string path = argv[0];",
    "    const std::string name = path.substr(path.rfind('/') + 1);",
    *choices,
    '    std::fprintf(stderr, "There is no test %s\\n", name.c_str());',
    "    return 2;\n}\n"]), "utf-8")
