"""Writes the first inputs of the frame parsers' fuzz targets: make_corpus.py [folder of the corpora]."""
import binascii
import os
import struct
import sys

FOLDER = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus")


def bits(*numbers):
    return sum(1 << number for number in numbers)


def radiotap(words, fields):
    length = 4 + 4 * len(words) + len(fields)
    return struct.pack("<BBH", 0, 0, length) + struct.pack("<%dI" % len(words), *words) + fields


def ppi(fields):
    return struct.pack("<BBHI", 0, 0, 8 + len(fields), 105) + fields


def field(kind, data):
    return struct.pack("<HH", kind, len(data)) + data


def common(flags):
    return field(2, bytes(8) + struct.pack("<H", flags) + bytes(10))


def data_frame(subtype, ds, length, padding=b"", body=b"payload"):
    header = bytes([subtype << 4 | 8, ds]) + bytes(length - 2)
    return header + padding + body + struct.pack("<I", binascii.crc32(header + body))


CHAIN = bits(29, 31)
VENDOR = b"\x00\x11\x22\x01\x03\x00abc"

RADIOTAP = {
    "empty": radiotap([0], b""),
    "flags": radiotap([bits(1)], b"\x10"),
    "usual": radiotap([bits(0, 1, 2, 3, 5, 11, 14)], bytes(8) + b"\x10\x02\x6c\x09\xa0\x00\xc4\x01\x00\x00"),
    "every_field": radiotap([0x7BFFFF], bytes(100)),
    "ht": radiotap([bits(1, 3, 5, 19, 20)], b"\x10" + bytes(20)),
    "vht": radiotap([bits(1, 3, 5, 21, 22)], b"\x10" + bytes(40)),
    "chain": radiotap([bits(1, 5) | CHAIN, bits(5, 11) | CHAIN, bits(5, 11)], b"\x10\xc4\xc4\x00\xc4\x01"),
    "numbered_on": radiotap([bits(1, 31), bits(1)], b"\x10\x40"),
    "vendor": radiotap([bits(1, 30, 31), bits(1, 2) | CHAIN, bits(1)], b"\x10\x00" + VENDOR + b"\x40"),
    "vendor_too_long": radiotap([bits(30)], b"\x00\x11\x22\x01\xff\xff"),
    "field_18": radiotap([bits(1, 18) | CHAIN, bits(1)], b"\x10" + bytes(9)),
    "field_25": radiotap([bits(1, 25)], b"\x10"),
    "version_1": b"\x01" + radiotap([bits(1)], b"\x10")[1:],
    "too_short": radiotap([bits(1, 22)], b"\x10"),
}
PPI = {
    "empty": ppi(b""),
    "common": ppi(common(1)) + bytes(24),
    "common_bad": ppi(common(2)) + bytes(24),
    "common_4": ppi(common(4)) + bytes(24),
    "common_without_frame": ppi(common(1)),
    "behind_others": ppi(field(3, bytes(12)) + field(9, b"") + common(1)) + bytes(24),
    "in_front": ppi(common(1) + field(4, bytes(48))) + bytes(24),
    "unaligned": ppi(field(5, bytes(3)) + common(1)) + bytes(24),
    "two": ppi(common(1) + common(2)) + bytes(24),
    "other_length": ppi(field(2, bytes(19)) + common(1)) + bytes(24),
    "runs_over": ppi(struct.pack("<HH", 3, 0xFFFF)) + bytes(24),
    "negative": b"\x00\x00\x00\x80" + bytes(40),
}
SLICING = {
    "data": b"\x00" + RADIOTAP["flags"] + data_frame(0, 1, 24),
    "data_four": b"\x00" + RADIOTAP["usual"] + data_frame(0, 3, 30),
    "qos": b"\x00" + RADIOTAP["chain"] + data_frame(8, 1, 26),
    "qos_four": b"\x00" + RADIOTAP["vht"] + data_frame(8, 3, 32),
    "qos_padded": b"\x00" + radiotap([bits(1)], b"\x30") + data_frame(8, 1, 26, b"\x00\x00"),
    "padding_without_body": b"\x00" + radiotap([bits(1)], b"\x30") + data_frame(8, 1, 26, b"", b"\x00"),
    "without_fcs": b"\x00" + RADIOTAP["empty"] + data_frame(0, 2, 24),
    "bad": b"\x00" + radiotap([bits(1)], b"\x50") + data_frame(0, 2, 24),
    "null": b"\x00" + RADIOTAP["flags"] + data_frame(4, 1, 24, b"", b""),
    "beacon": b"\x00" + RADIOTAP["flags"] + b"\x80\x00" + bytes(60),
    "ppi": b"\x01" + ppi(common(1)) + data_frame(8, 1, 26),
    "ppi_bad": b"\x01" + ppi(common(2)) + data_frame(8, 1, 26),
    "plain": b"\x69" + data_frame(0, 1, 24),
}

for name, inputs in (("radiotap", RADIOTAP), ("ppi", PPI), ("slicing", SLICING)):
    os.makedirs(os.path.join(FOLDER, name), exist_ok=True)
    for file, data in inputs.items():
        with open(os.path.join(FOLDER, name, file), "wb") as out:
            out.write(data)
