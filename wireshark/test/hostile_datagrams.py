#!/usr/bin/env python3
"""Writes hostile.pcap: healthy datagrams, and what broken or hostile devices may send; and
hostile.expected: what the dissector has to say of each. Run as: hostile_datagrams.py FOLDER

After a change here, the committed capture is made again by: hostile_datagrams.py wireshark/test"""
import sys

from capture_file import (BROADCAST_PORT, DEVICE_PORT, ethernet_frame, with_checksum,
                          write_capture, write_expectations)

MANAGER, DEVICE, OTHER = "10.71.0.1", "10.71.0.10", "10.71.0.11"
BAD, GOOD, MISSING = 0, 1, 3

REPORT = (b'{"product":"KESTA","seq":0,"device_id":"a1","firmware_version":"v1.5.5.8d",'
          b'"ui":{"name":"Sub 1","loc":"Stage"},"dsp":{"error":""}}\n')
IGNORED = "Only log messages have an attachment that the manager reads"
UNCHECKED = "No checksum: the manager takes this as it is"
NO_OBJECT = "This is no JSON object: the manager drops it"


def wrong_sum(payload):
    right = with_checksum(payload)[-8:].decode()
    return f"Wrong checksum, should be 0x{right}: the manager drops this"


def log(position, attachment, more=b""):
    return (b'{"command":"raw_log","device_id":"a1"' + more + b',"pos":' + position + b"}"
            + attachment)


def metering(lists):
    return b'{"command":"broadcast_info","device_id":"a1","metering":{' + lists + b"}}\n"


def nested(levels):
    return b'{"a":' + b"[" * (levels - 1) + b"]" * (levels - 1) + b"}"


# What is sent; direction, kind, why the manager drops it, state of the checksum, the frame of the
# command that it answers, the text of a log; the line in the list of packets; what is marked as a
# problem, in the order of the tree.
ROWS = []


def last_command():
    return max(number for number, (_, row) in enumerate(ROWS, 1) if row[1] == "command")


def add(payload, kind, line, status=GOOD, dropped="", problems=(), source=DEVICE, target=MANAGER,
        port=DEVICE_PORT, direction="from device", text=""):
    frame = ethernet_frame(source, target, payload, port)
    answers = last_command() if kind == "reply" else ""
    ROWS.append((frame, (direction, kind, dropped, status, answers, text, line,
                         ";".join(problems))))


def from_manager(payload, kind, line, target=DEVICE):
    add(payload, kind, line, status=MISSING, source=MANAGER, target=target, direction="to device")


def checked(payload, kind, line, **more):
    add(with_checksum(payload), kind, line, **more)


def unchecked(payload, kind, line, problems=(), **more):
    add(payload, kind, line, status=MISSING, problems=[*problems, UNCHECKED], **more)


def unreadable(payload, **more):
    unchecked(payload, "unreadable", f"[no JSON object] unreadable, {len(payload)} bytes",
              dropped="no JSON object", problems=[NO_OBJECT], **more)


def add_requests_and_commands():
    # Before anybody has asked for reports, the object itself must tell who speaks.
    from_manager(b'{"api_version":6,"command":"blink_leds","seq":1}\n', "command", "blink_leds")
    from_manager(b'{"add_crc":true,"api_version":6,"command":"device_info","metering":true}\n',
                 "request", "request for reports with checksums and metering",
                 target="10.71.255.255")
    from_manager(b'{"command":"device_info"}', "request", "request for reports")
    from_manager(b'{"api_version":6,"command":"set_params","dsp":{"delay":0.5,"mute":true},'
                 b'"seq":1,"ui":{"name":"a\\tb"},"x":[1,2],"y":{},"z":null}\n', "command",
                 'set_params: dsp/delay=0.5, dsp/mute=true, ui/name="a b", x=[2], y={}, z=null')
    from_manager(b'{"command":"set_params","v":"' + b"\xc3\xa4" * 300 + b'"}', "command",
                 'set_params: v="' + "ä" * 145 + "…")
    from_manager(b"reboot now\n\xff\x00\x01", "console text", "console text: reboot now..")
    from_manager(b"[1]", "console text", "console text: [1]")


def add_reports():
    checked(REPORT, "report", 'report of "Sub 1", firmware v1.5.5.8d')
    unchecked(REPORT, "report", 'report of "Sub 1", firmware v1.5.5.8d')
    add(REPORT + with_checksum(REPORT)[-12:].upper(), "report",
        'report of "Sub 1", firmware v1.5.5.8d')
    add(with_checksum(REPORT, error=1), "report",
        '[wrong checksum] report of "Sub 1", firmware v1.5.5.8d', status=BAD,
        dropped="wrong checksum", problems=[wrong_sum(REPORT)])
    checked(REPORT, "report", 'report of "Sub 1", firmware v1.5.5.8d', source=OTHER,
            problems=["This device id was last heard from 10.71.0.10"])
    checked(REPORT, "report", 'report of "Sub 1", firmware v1.5.5.8d',
            problems=["This device id was last heard from 10.71.0.11"])
    checked(REPORT.replace(b'"seq":0', b'"seq":1'), "reply", "unnamed command reply",
            problems=["Taken for a reply: its seq is not 0"])
    checked(REPORT.replace(b'"seq":0', b'"seq":"0"'), "reply", "unnamed command reply",
            problems=["Taken for a reply: its seq is not 0"])
    checked(REPORT.replace(b'"a1"', b'""'), "reply", "unnamed command reply",
            problems=["Taken for a reply: it has no device id"])
    checked(REPORT.replace(b"KESTA", b"OTHER"), "reply", "unnamed command reply")
    checked(REPORT.replace(b'"error":""', b'"error":"over\\ntemperature"'), "report",
            'report of "Sub 1", firmware v1.5.5.8d, dsp error: over temperature',
            problems=["over temperature"])
    checked(REPORT.replace(b'"ui"', b'"firmware_update_error":"no image","ui"'), "report",
            'report of "Sub 1", firmware v1.5.5.8d, firmware_update_error: no image',
            problems=["no image"])
    checked(REPORT.replace(b"Sub 1", b"\\u00dc\\ud83d\\ude00\xe2\x82\xac"), "report",
            'report of "Ü😀€", firmware v1.5.5.8d')


def add_broken_texts():
    unreadable(REPORT[:-9])
    unreadable(b'[{"a":1}]')
    unreadable(b"hello")
    unreadable(b'{"a":1}x')
    unreadable(b'{"a":"\xff"}')
    unreadable(b'{"a":1e999}')
    unreadable(nested(1025))
    unchecked(nested(1024), "reply", "unnamed command reply")
    unchecked(b'{"device_id":"\\ude00"}', "reply", "unnamed command reply")
    nothing = "There is no JSON text: the manager drops it"
    add(b"\n//#00000000", "unreadable", "[no JSON object] unreadable, 0 bytes",
        dropped="no JSON object", problems=[nothing])
    add(b"\n//#ghijklmn", "unreadable", "[no JSON object] unreadable, 0 bytes",
        dropped="no JSON object", problems=[nothing])
    add(b"\n//#00000001", "unreadable", "[wrong checksum] unreadable, 0 bytes", status=BAD,
        dropped="wrong checksum", problems=[nothing, wrong_sum(b"")])
    unchecked(b"\0", "unreadable", "[no JSON object] unreadable, 1 bytes",
              dropped="no JSON object", problems=[nothing])


def add_replies():
    from_manager(b'{"api_version":6,"command":"sap_purge","seq":1}\n', "command", "sap_purge")
    checked(b'{"command":"sap_purge","device_id":"a1","seq":1,"status":"ok"}\n', "reply",
            "sap_purge reply: ok")
    checked(b'{"command":"x","device_id":"a1","error":"unknown","status":"error"}\n', "reply",
            "x reply: error, error: unknown", problems=["unknown"])
    checked(b'{"command":"x","status":"ok"}\0abc', "reply", "x reply: ok", problems=[IGNORED])


def add_logs():
    cut = "A log message without a length: the manager drops it"
    none = "A log message without an attachment: the manager drops it"
    overflow = "The device lost log bytes itself"
    checked(log(b"100", b"\0\x05\x00abcde"), "log", "log 5 bytes at 100", text="abcde")
    checked(log(b"105", b"\0\x05\x00\x1b[3\x00x"), "log", "log 5 bytes at 105")
    checked(log(b"110", b"\0\x0e\x00\x1b[31ma\x1b[0m\nb\0c"), "log", "log 14 bytes at 110",
            text="a\\nb")
    checked(log(b"133", b"\0\x01\x00a"), "log", "log 1 bytes at 133, bytes missing before", text="a",
            problems=["9 log bytes lost"])
    checked(log(b"134", b"\0\x01\x00a", b',"overflow":true'), "log",
            "log 1 bytes at 134, overflow", text="a", problems=[overflow])
    checked(log(b"0", b"\0\x02\x00ab"), "log", "log 2 bytes at 0, starts anew", text="ab",
            problems=["Position 0 again: the device has started anew"])
    checked(log(b"1", b"\0\x01\x00a"), "log", "log 1 bytes at 1, bytes missing before", text="a",
            problems=["The position goes back by 1"])
    checked(log(b"2", b"\0\x09\x00abcd"), "log", "[wrong log length] log 9 bytes at 2",
            text="abcd", dropped="wrong log length",
            problems=["9 bytes are stated and 4 are there: the manager drops this"])
    checked(log(b"2", b""), "log", "[wrong log length] log 0 bytes at 2",
            dropped="wrong log length", problems=[none])
    checked(log(b"2", b"\0"), "log", "[wrong log length] log 0 bytes at 2",
            dropped="wrong log length", problems=[cut])
    checked(log(b"2", b"\0\x01"), "log", "[wrong log length] log 0 bytes at 2",
            dropped="wrong log length", problems=[cut])
    add(with_checksum(log(b"2", b"\0\x04\x00abcd"), error=7), "log",
        "[wrong checksum] log 4 bytes at 2", text="abcd", status=BAD, dropped="wrong checksum",
        problems=[wrong_sum(log(b"2", b"\0\x04\x00abcd"))])
    # The dropped ones have not moved the stream on.
    checked(log(b"2", b"\0\x02\x00abcd"), "log", "log 2 bytes at 2", text="ab",
            problems=["2 bytes are counted, but not shown"])
    checked(log(b"6", b"\0\x00\x00"), "log", "log 0 bytes at 6")
    checked(log(b"4294967302.9", b"\0\x01\x00\xff"), "log", "log 1 bytes at 6", text="?")
    checked(log(b"-4294967289", b"\0\x00\x00"), "log", "log 0 bytes at 7")
    checked(log(b'"7"', b"\0\x00\x00"), "log", "log 0 bytes at 0, starts anew",
            problems=["Position 0 again: the device has started anew"])


def add_metering():
    checked(metering(b'"channel_overdrive":[0,1],"channel_peaks":[45,58]'), "metering",
            "metering 2 channels, highest -12 dB, overdrive on 2")
    unchecked(metering(b'"channel_overdrive":[0],"channel_peaks":[0]'), "metering",
              "metering 1 channels, highest -70 dB", target="10.71.255.255", port=BROADCAST_PORT)
    checked(metering(b'"channel_overdrive":[],"channel_peaks":[1.5,"x",null,80]'), "metering",
            "metering 4 channels, highest 10 dB", problems=["4 peaks, but 0 overdrive flags"])
    checked(metering(b""), "metering", "metering 0 channels")
    checked(metering(b'"channel_overdrive":1,"channel_peaks":{}'), "metering",
            "metering 0 channels")
    many = b",".join([b"1"] * 1025)
    checked(metering(b'"channel_overdrive":[' + many + b'],"channel_peaks":[' + many + b"]"),
            "metering", "metering 1025 channels, highest -69 dB, overdrive on "
            + ", ".join(str(i) for i in range(1, 21)),
            problems=["The manager reads no more than 1024 channels"])


def all_frames():
    for add_group in (add_requests_and_commands, add_reports, add_broken_texts, add_replies,
                      add_logs, add_metering):
        add_group()
    return [frame for frame, _ in ROWS]


def main(folder):
    write_capture(folder + "/hostile.pcap", all_frames())
    write_expectations(folder + "/hostile.expected",
                       [(number, *row) for number, (_, row) in enumerate(ROWS, 1)])


if __name__ == "__main__":
    main(sys.argv[1])
