"""Capture files with UDP datagrams, and what a dissector has to say about them."""
import socket
import struct
import zlib

ETHERNET = 1
DEVICE_PORT = 7054
BROADCAST_PORT = 7055


def with_checksum(payload, error=0):
    return payload + b"\n//#%08x" % (zlib.crc32(payload) ^ error)


def header_checksum(header):
    total = sum(struct.unpack(f"!{len(header) // 2}H", header))
    total = (total & 0xFFFF) + (total >> 16)
    return ~(total + (total >> 16)) & 0xFFFF


def ethernet_frame(source, target, payload, target_port=DEVICE_PORT):
    """One datagram as a network card hands it over; the addresses are IPv4 texts."""
    udp = struct.pack("!HHHH", DEVICE_PORT, target_port, 8 + len(payload), 0) + payload
    fields = (0x45, 0, 20 + len(udp), 0, 0, 64, socket.IPPROTO_UDP)
    addresses = socket.inet_aton(source) + socket.inet_aton(target)
    header = struct.pack("!BBHHHBBH", *fields, 0) + addresses
    header = struct.pack("!BBHHHBBH", *fields, header_checksum(header)) + addresses
    return bytes.fromhex("024b56000002 024b56000001 0800") + header + udp


def write_capture(path, frames, largest=262144):
    """`frames` are the bytes of Ethernet frames, a millisecond apart; longer ones are cut."""
    with open(path, "wb") as file:
        file.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, largest, ETHERNET))
        for number, frame in enumerate(frames):
            seconds, rest = divmod(number, 1000)
            kept = frame[:largest]
            file.write(struct.pack("<IIII", seconds, rest * 1000, len(kept), len(frame)) + kept)


def write_expectations(path, rows):
    """One line a datagram: the values of the fields that the check asks for, tabs between."""
    with open(path, "w", encoding="utf-8") as file:
        for row in rows:
            file.write("\t".join(str(value) for value in row) + "\n")
