#!/usr/bin/env python3
"""Packs a folder of fuzzing inputs into one file, an input a line in base64, or unpacks it again."""
import base64
import hashlib
import pathlib
import sys

action, packed, folder = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
if action == "pack":
    lines = {base64.b64encode(one.read_bytes()).decode() for one in folder.iterdir()}
    packed.write_text("".join(line + "\n" for line in sorted(lines, key=lambda line: (len(line), line))))
else:
    for line in packed.read_text().splitlines():
        data = base64.b64decode(line)
        (folder / hashlib.sha1(data).hexdigest()[:16]).write_bytes(data)
