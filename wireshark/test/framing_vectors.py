#!/usr/bin/env python3
"""Writes framing.pcap: the received datagrams of tests/vectors/framing.json, which the manager's own
framing is tested with; and what is expected of those that are taken (taken.expected: number,
attachment, device id), that are dropped (dropped.expected: number, reason) and whose checksum is
wrong (wrong.expected: number, checksum). Run as: framing_vectors.py VECTORS FOLDER"""
import base64
import json
import sys

from capture_file import ethernet_frame, write_capture, write_expectations

REASONS = {"bad_crc": "wrong checksum", "no_object": "no JSON object"}


def attachment_of(expect):
    return base64.b64decode(expect.get("attachment", ""))


def drop_reason(expect):
    if expect["verdict"] != "ok":
        return REASONS[expect["verdict"]]
    attachment = attachment_of(expect)
    is_whole = (len(attachment) >= 2
                and int.from_bytes(attachment[:2], "little") <= len(attachment) - 2)
    return "" if is_whole or expect["json"].get("command") != "raw_log" else "wrong log length"


def main(vectors, folder):
    with open(vectors, encoding="utf-8") as file:
        cases = json.load(file)["cases"]
    frames, taken, dropped, wrong = [], [], [], []
    for case in cases:
        expect, payload = case["expect"], base64.b64decode(case["input"].get("datagram", ""))
        if case["input"]["kind"] != "in" or not payload:
            continue  # Wireshark shows an empty datagram to nobody
        frames.append(ethernet_frame("10.71.0.10", "10.71.0.1", payload))
        reason = drop_reason(expect)
        if reason:
            dropped.append((len(frames), reason))
        else:
            taken.append((len(frames), attachment_of(expect).hex(),
                          expect["json"].get("device_id", "")))
        if expect["verdict"] == "bad_crc":
            wrong.append((len(frames), f"0x{expect['carried']:08x}"))
    write_capture(folder + "/framing.pcap", frames)
    write_expectations(folder + "/taken.expected", taken)
    write_expectations(folder + "/dropped.expected", dropped)
    write_expectations(folder + "/wrong.expected", wrong)


main(*sys.argv[1:])
