#!/usr/bin/python3
"""Makes a capture file of numbered 802.11 QoS data frames, each with a right frame check sequence.

    make_frames.py OUTPUT [COUNT [SIZE]]     a million frames of 200 bytes when not given

A frame is a radiotap header (9 bytes, Flags alone: check sequence at the end), an 802.11 header (26), the number
(8 bytes, little-endian), a body, and the check sequence. Slicing checks each and keeps its first 35 bytes.
"""
import struct
import sys
import zlib

RADIOTAP = bytes.fromhex("000009000200000010")
HEADER = bytes.fromhex("88022c0002c13e000001025a17000001025a1700000100000000")
SMALLEST = len(RADIOTAP) + len(HEADER) + 8 + 4


def make(path, count=1_000_000, size=200):
    body = bytes((index * 7 + 3) % 256 for index in range(size - SMALLEST))
    record, number, check = struct.Struct("<IIII").pack, struct.Struct("<Q").pack, struct.Struct("<I").pack
    start = zlib.crc32(HEADER)
    with open(path, "wb") as file:
        file.write(struct.pack("<IHHiIII", 0xa1b2c3d4, 2, 4, 0, 0, 2048, 127))
        for first in range(0, count, 10_000):
            parts = []
            for index in range(first, min(first + 10_000, count)):
                payload = number(index) + body
                parts += (record(1_700_000_000 + index // 1_000_000, index % 1_000_000, size, size), RADIOTAP, HEADER,
                          payload, check(zlib.crc32(payload, start)))
            file.write(b"".join(parts))


if __name__ == "__main__":
    if not 2 <= len(sys.argv) <= 4:
        sys.exit(__doc__)
    make(sys.argv[1], *map(int, sys.argv[2:]))
