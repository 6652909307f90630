#!/usr/bin/env python3
"""Records a simulated fleet and a small manager that talk over a cable in a private network: writes
fleet.pcap, and fleet.expected with what the datagrams say when they are read by other means than the
dissector. To be run by private_network of scripts/private_network.sh as
record_fleet.py WAY USER GROUP FOLDER SIMULATOR; ends when nobody writes to FOLDER/lifeline."""
import json
import os
import select
import socket
import struct
import subprocess
import sys
import time
import zlib

from capture_file import BROADCAST_PORT, DEVICE_PORT, write_capture, write_expectations

MANAGER, BROADCAST = "10.71.0.1", "10.71.255.255"
LONGEST = 20  # seconds
ETH_P_ALL = 3
MORE_FRAGMENTS = 0x2000
WRAP = 1 << 32
BAD, GOOD, MISSING = 0, 1, 3

FLEET = {"devices": [
    {"product": "Y6", "name": "Front fill left", "location": "Stage lip"},
    {"product": "TSub1802", "name": "Sub \"ä\"", "faults": [{"fault": "no_checksum"}]},
    {"product": "KV8130", "name": "Monitor rack", "faults": [{"fault": "wrong_checksum"}]},
    {"product": "Y6", "name": "Loses", "faults": [{"fault": "log", "rate": 50, "lose": 1}]},
    {"product": "Y6", "name": "Lies", "faults": [
        {"fault": "log", "rate": 50, "overflow": 1, "lie": 1, "length_error": 5, "padding": 3}]},
    {"product": 0, "name": "New module", "firmware_version": "1.1"},
]}

COMMANDS = [
    {"command": "set_params", "seq": 1, "api_version": 6, "logging": {"en": True}},
    {"command": "set_params", "seq": 1, "api_version": 6, "ui": {"memo": "ä€😀"}},
    {"command": "blink_leds", "seq": 1, "api_version": 6},
    {"command": "sap_purge", "seq": 1, "api_version": 6, "age": 0, "blocktime": 1},
    {"command": "no_such_thing", "seq": 1, "api_version": 6},
]
CONSOLE_TEXT = b"help me"
AS_THE_MANAGER = {"ensure_ascii": False, "separators": (",", ":"), "sort_keys": True}

# The recording is of no use before all of this has passed by.
WANTED = {"request", "command", "console text", "report", "reply", "metering", "log",
          "wrong checksum", "no checksum", "wrong log length", "gap", "fragments"}


def shell(command):
    subprocess.run(["/bin/sh", "-ec", command], check=True)


def start_fleet(simulator, folder):
    """The simulator in a network of its own, and the cable to it."""
    with open(folder + "/fleet.json", "w", encoding="utf-8") as file:
        json.dump(FLEET, file)
    script = ("ip link set lo up; ip link add fleet type veth peer name speakers netns $1; "
              "ip link set fleet up; exec \"$2\" --interface fleet --exit-with-stdin --fleet \"$3\"")
    fleet = subprocess.Popen(
        ["unshare", "--net", "--", "/bin/sh", "-ec", script, "sh", str(os.getpid()), simulator,
         folder + "/fleet.json"], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    if not json.loads(fleet.stdout.readline() or b"{}").get("ready"):
        sys.exit("the simulator is not ready")
    return fleet


def open_socket(port):
    opened = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    opened.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
    opened.bind(("", port))
    return opened


def open_tap():
    tap = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(ETH_P_ALL))
    tap.bind(("speakers", 0))
    return tap


class Reassembly:
    """Datagrams out of frames: a report is longer than an Ethernet frame."""

    def __init__(self):
        self.parts = {}
        self.has_seen_fragments = False

    def take(self, frame):
        """Source address, target port and payload; None unless the frame completes a datagram."""
        if frame[12:14] != b"\x08\x00" or frame[23] != socket.IPPROTO_UDP:
            return None
        header = 14 + (frame[14] & 15) * 4
        size, number, fragment = struct.unpack("!HHH", frame[16:22])
        key = (frame[26:30], number)
        data = self.parts.pop(key, b"") + frame[header:14 + size]
        if fragment & MORE_FRAGMENTS:
            self.has_seen_fragments = True
            self.parts[key] = data
            return None
        port = struct.unpack("!H", data[2:4])[0]
        return socket.inet_ntoa(frame[26:30]), port, data[8:]


class Reader:
    """Reads datagrams as the protocol's description has them, without a look at the dissector."""

    def __init__(self):
        self.log_ends = {}
        self.seen = set()

    def row(self, source, payload):
        status, payload = self.checksum(payload)
        text, _, attachment = payload.partition(b"\0")
        try:
            message = json.loads(text)
        except ValueError:
            message = None
        kind = self.kind(source, message)
        dropped = self.drop_reason(source, kind, status, attachment)
        log = self.log(message, attachment, status) if kind == "log" else ("", "", "")
        channels = len(message["metering"]["channel_peaks"]) if kind == "metering" else ""
        self.seen |= {kind, dropped}
        if status == MISSING and kind == "report":
            self.seen.add("no checksum")
        message = message or {}
        direction = "to device" if source == MANAGER else "from device"
        return (direction, kind, dropped, status, message.get("command", ""),
                message.get("device_id", ""), *log, channels)

    @staticmethod
    def checksum(payload):
        if payload[-12:-8] != b"\n//#":
            return MISSING, payload
        is_right = int(payload[-8:], 16) == zlib.crc32(payload[:-12])
        return (GOOD if is_right else BAD), payload[:-12]

    @staticmethod
    def kind(source, message):
        if source == MANAGER:
            if message is None:
                return "console text"
            return "request" if message["command"] == "device_info" else "command"
        kinds = {"raw_log": "log", "broadcast_info": "metering"}
        default = "report" if message.get("product") == "KESTA" else "reply"
        return kinds.get(message.get("command"), default)

    @staticmethod
    def drop_reason(source, kind, status, attachment):
        if source == MANAGER:
            return ""
        if status == BAD:
            return "wrong checksum"
        is_cut = kind == "log" and int.from_bytes(attachment[:2], "little") > len(attachment) - 2
        return "wrong log length" if is_cut else ""

    def log(self, message, attachment, status):
        length = int.from_bytes(attachment[:2], "little")
        position, device_id = message["pos"], message["device_id"]
        gap = ""
        if status != BAD and length <= len(attachment) - 2:
            gap = (position - self.log_ends.get(device_id, position)) % WRAP or ""
            self.log_ends[device_id] = (position + len(attachment) - 2) % WRAP
        if gap:
            self.seen.add("gap")
        return position, length, gap


class Recording:
    def __init__(self):
        self.tap = open_tap()
        self.sockets = [open_socket(DEVICE_PORT), open_socket(BROADCAST_PORT)]
        self.frames, self.rows, self.speakers = [], [], set()
        self.reassembly, self.reader = Reassembly(), Reader()

    def take_frame(self):
        self.frames.append(self.tap.recv(65536))
        datagram = self.reassembly.take(self.frames[-1])
        if datagram and datagram[1] in (DEVICE_PORT, BROADCAST_PORT):
            source, _, payload = datagram
            self.rows.append((len(self.frames), *self.reader.row(source, payload)))
            self.speakers |= {source} - {MANAGER}

    def is_complete(self):
        fragments = {"fragments"} if self.reassembly.has_seen_fragments else set()
        return not self.missing(fragments)

    def missing(self, more=frozenset()):
        return WANTED - self.reader.seen - more

    def send(self, payload, address):
        self.sockets[0].sendto(payload, (address, DEVICE_PORT))

    def ask(self):
        self.send(b'{"add_crc":true,"api_version":6,"command":"device_info","metering":true}\n',
                  BROADCAST)

    def command(self, address):
        for command in COMMANDS:
            self.send(json.dumps(command, **AS_THE_MANAGER).encode() + b"\n", address)
        self.send(CONSOLE_TEXT, address)

    def run(self, lifeline):
        end, next_request, commanded = time.monotonic() + LONGEST, 0, set()
        while not self.is_complete():
            now = time.monotonic()
            if now > end:
                sys.exit(f"not seen within {LONGEST} s: {', '.join(sorted(self.missing()))}")
            if now >= next_request:
                self.ask()
                next_request = now + 0.5
            ready = select.select([lifeline, self.tap, *self.sockets], [], [], 0.1)[0]
            if lifeline in ready and not lifeline.read(1):
                sys.exit("whoever started this is gone")
            for readable in set(ready) & set(self.sockets):
                readable.recv(65536)
            if self.tap in ready:
                self.take_frame()
            for address in self.speakers - commanded:
                self.command(address)
                commanded.add(address)


def main(_way, _user, _group, folder, simulator):
    # pylint: disable=consider-using-with # both last as long as this program
    lifeline = open(folder + "/lifeline", "rb", buffering=0)
    fleet = start_fleet(simulator, folder)
    shell(f"ip link set lo up; ip address add {MANAGER}/16 broadcast + dev speakers; "
          "ip link set speakers up")
    recording = Recording()
    recording.run(lifeline)
    fleet.stdin.close()
    fleet.wait(10)
    write_capture(folder + "/fleet.pcap", recording.frames)
    write_expectations(folder + "/fleet.expected", recording.rows)


main(*sys.argv[1:])
