#!/usr/bin/env python3
"""Writes the images of the golden cases as the start corpus of the firmware fuzzer."""
import base64
import hashlib
import json
import pathlib

root = pathlib.Path(__file__).resolve().parent.parent
folder = root / "fuzz/corpus/firmware"
folder.mkdir(parents=True, exist_ok=True)
for case in json.loads((root / "tests/vectors/firmware.json").read_text())["cases"]:
    image = base64.b64decode(case["input"]["image"])
    (folder / hashlib.sha1(image).hexdigest()[:16]).write_bytes(image)
