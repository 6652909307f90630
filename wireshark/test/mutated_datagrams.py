#!/usr/bin/env python3
"""Writes mutated.pcap: datagrams of every kind with random damage, the same ones each time. The
dissector must survive them. Run as: mutated_datagrams.py FOLDER [COUNT] [SEED]"""
import random
import sys

import hostile_datagrams
from capture_file import ethernet_frame, with_checksum, write_capture

ETHERNET_TO_PAYLOAD = 14 + 20 + 8
PIECES = [b'"', b"{", b"}", b"[", b"]", b",", b":", b"\\", b"\\u", b"\\ud83d", b"\\ude00", b"\0",
          b"0", b"-", b".", b"1.", b"e", b"E5", b"1e999", b"1e-999", b"true", b"null", b"\n//#",
          b"\x80", b"\xff", b"\xc3\xa4", b"\xed\xa0\x80", b"\xf4\x90\x80\x80", b"\xf0\x9f\x98\x80",
          b"\xef\xbb\xbf", b" ", b"\n", b"\t", b"\x0b", b"%s%n", b"99999999999999999999",
          b'"seq":0,', b'"device_id":"x",', b'"product":"KESTA",']


def damaged(payload, source):
    data = bytearray(payload)
    for _ in range(source.choice([1, 1, 2, 3, 6])):
        place = source.randrange(len(data) + 1)
        way = source.randrange(5)
        if way == 0:
            data[place:place + 1] = bytes([source.randrange(256)])
        elif way == 1:
            data[place:place] = source.choice(PIECES)
        elif way == 2:
            del data[place:place + source.randrange(1, 5)]
        elif way == 3:
            other = source.randrange(len(data) + 1)
            data[place:place] = data[other:other + source.randrange(1, 20)]
        elif source.random() < 0.2:
            del data[place:]
    return bytes(data) or b"\0"


def main(folder, count=3000, seed=1):
    source = random.Random(int(seed))
    seeds = [frame[ETHERNET_TO_PAYLOAD:] for frame in hostile_datagrams.all_frames()]
    frames = []
    for number in range(int(count)):
        payload = damaged(source.choice(seeds), source)
        if source.random() < 0.3:
            payload = with_checksum(payload)
        # Many senders, so that what is learned of one says little about the next.
        frames.append(ethernet_frame(f"10.71.{number % 7}.{number % 199}", "10.71.255.1", payload))
    write_capture(folder + "/mutated.pcap", frames)


main(*sys.argv[1:])
