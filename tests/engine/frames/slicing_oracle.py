"""Compares the sliced length of a great many frames with the lengths a second, independent reading of the rules gives.

Usage: slicing_oracle.py <slicing_lengths program>. The frames are built with scapy and binascii alone.
"""
import binascii
import itertools
import logging
import struct
import subprocess
import sys

logging.getLogger("scapy").setLevel(logging.ERROR)
try:
    from scapy.layers.dot11 import Dot11, Dot11QoS
except ImportError:
    print("python3-scapy is not installed")
    sys.exit(77)

RADIOTAP, PPI, PLAIN = 127, 192, 105
FCS, PADDING, BAD = 0x10, 0x20, 0x40

# Header length by (subtype, four addresses); what is not listed is never sliced.
HEADER_LENGTHS = {}
for _subtype in (0, 1, 2, 3):
    HEADER_LENGTHS[_subtype, False] = 24
    HEADER_LENGTHS[_subtype, True] = 30
for _subtype in (8, 9, 10, 11):
    HEADER_LENGTHS[_subtype, False] = 26
    HEADER_LENGTHS[_subtype, True] = 32


def expected_length(captured, radio_length, flags):
    """The length to keep, from the bytes and what the radio header in front of them was built to say."""
    whole = len(captured)
    frame = captured[radio_length:]
    if len(frame) < 2 or flags & BAD:
        return whole
    control = struct.unpack_from("<H", frame)[0]
    if control & 0x0C != 0x08:
        return whole
    header_length = HEADER_LENGTHS.get((control >> 4 & 0x0F, control & 0x0300 == 0x0300))
    if header_length is None:
        return whole
    if not flags & FCS:
        return radio_length + header_length if len(frame) >= header_length + 1 else whole
    if len(frame) < header_length + 5:
        return whole
    skipped = 2 if flags & PADDING and header_length in (26, 30) else 0
    body_length = len(frame) - header_length - 4 - skipped
    if body_length < 0:
        return whole
    body = frame[header_length + skipped:header_length + skipped + body_length]
    crc = binascii.crc32(body, binascii.crc32(frame[:header_length]))
    stored = struct.unpack("<I", captured[-4:])[0]
    return radio_length + header_length if crc == stored else whole


def radiotap(words, fields, version=0):
    length = 4 + 4 * len(words) + len(fields)
    return struct.pack("<BBH", version, 0, length) + struct.pack("<%dI" % len(words), *words) + fields


def bits(*numbers):
    return sum(1 << number for number in numbers)


def ppi(fields, length=None):
    return struct.pack("<BBHI", 0, 0, 8 + len(fields) if length is None else length, 105) + fields


def common(flags, size=20):
    return struct.pack("<HH", 2, size) + (b"\xff" * 8 + struct.pack("<H", flags) + b"\xff" * size)[:size]


def ppi_flags(flags):
    """The Common field's word for these flags; its bit 4, which is not the bad-FCS flag, is set throughout."""
    return (1 if flags & FCS else 0) | (2 if flags & BAD else 0) | 4


def radiotap_kinds(flags):
    """Radiotap headers around a Flags byte: name, header, and the flags that a reader must find."""
    one, other = bytes([flags]), bytes([flags ^ (FCS | PADDING | BAD)])
    chain = bits(29, 31)
    vendor = b"\x00\x11\x22\x01" + struct.pack("<H", 5) + b"\x70" * 5
    yield "flags alone", radiotap([bits(1)], one), flags
    yield "usual fields", radiotap([bits(0, 1, 2, 3, 5, 11, 14)],
                                   b"\x70" * 8 + one + b"\x02\x6c\x09\xa0\x00\xc4\x01\x00\x00"), flags
    yield "aligned fields behind", radiotap([bits(1, 3, 19, 20, 22)], one + b"\x70" * 35), flags
    yield "bytes behind the fields", radiotap([bits(1)], one + b"\x70" * 6), flags
    yield "no flags field", radiotap([bits(2, 3)], b"\x70" * 6), 0
    yield "two flags", radiotap([bits(1) | chain, bits(1)], other + one), flags
    yield "three words, three flags", radiotap([bits(0, 1) | chain, bits(1, 5) | chain, bits(1)],
                                               b"\x70" * 8 + other + other + b"\xc4" + one), flags
    yield "second word numbers on", radiotap([bits(1, 31), bits(1)], one + other), flags
    yield "flags in the second word only", radiotap([bits(0) | chain, bits(1, 5)], b"\x70" * 12 + one + b"\xc4"), flags
    yield "vendor namespace between", radiotap([bits(1, 30, 31), bits(1, 2, 18) | chain, bits(1)],
                                               other + b"\x70" + vendor + one), flags
    yield "vendor namespace in front", radiotap([bits(30, 31), 0x1FFFFFFF | chain, bits(1)], vendor + one), flags
    yield "vendor namespace too long", radiotap([bits(1, 30, 31), chain, bits(1)],
                                                one + b"\x00\x00\x11\x22\x01\xff\x00\x70\x70\x70"), flags
    yield "undefined field 18", radiotap([bits(1, 18) | chain, bits(1)], one + other * 9), flags
    yield "undefined field 25", radiotap([bits(1, 25) | chain, bits(1)], one + other * 9), flags
    yield "later field does not fit", radiotap([bits(1, 22)], one + b"\x70" * 9), flags
    yield "first field does not fit", radiotap([bits(0, 1)], one), 0
    yield "present words do not fit", radiotap([bits(1, 31)], one), 0
    yield "version 1", radiotap([bits(1)], one, version=1), 0


def ppi_kinds(flags):
    flags &= ~PADDING
    word, wrong = ppi_flags(flags), ppi_flags(flags) ^ 3
    other = struct.pack("<HH", 3, 12) + b"\xff" * 12
    yield "common alone", ppi(common(word)), flags
    yield "common behind others", ppi(other + struct.pack("<HH", 9, 0) + common(word)), flags
    yield "common in front of others", ppi(common(word) + other), flags
    yield "common at an odd place", ppi(struct.pack("<HH3s", 9, 3, b"\xff" * 3) + common(word)), flags
    yield "two commons", ppi(common(word) + common(wrong)), flags
    yield "common of another length in front", ppi(common(wrong, 18) + common(wrong, 24) + common(word)), flags
    yield "common of another length", ppi(common(word, 19)), 0
    yield "no common", ppi(other), 0
    yield "no field", ppi(b""), 0
    yield "field runs over the end", ppi(struct.pack("<HH", 3, 0xFFFF)), 0


def dot11_headers():
    """The 802.11 header for every type, subtype and DS combination."""
    for kind, subtype, ds in itertools.product(range(4), range(16), range(4)):
        header = Dot11(type=kind, subtype=subtype, FCfield=ds, addr1="02:00:00:00:00:01", addr2="02:00:00:00:00:02",
                       addr3="02:00:00:00:00:03", addr4="02:00:00:00:00:04", SC=0x1230)
        if kind == 2 and subtype & 8:
            header = header / Dot11QoS(TID=5)
        data = bytes(header)
        assert data[0] == subtype << 4 | kind << 2 and data[1] & 3 == ds
        listed = HEADER_LENGTHS.get((subtype, ds == 3)) if kind == 2 else None
        assert listed in (None, len(data)), (kind, subtype, ds, len(data))
        yield data


def radio_headers():
    """Every radio header with every combination of the three flags; data-link type, bytes, flags to be found."""
    for flags in (0, FCS, BAD, FCS | BAD, PADDING, FCS | PADDING):
        for name, data, found in radiotap_kinds(flags):
            yield RADIOTAP, "radiotap, " + name, data, found
        if not flags & PADDING:
            for name, data, found in ppi_kinds(flags):
                yield PPI, "PPI, " + name, data, found
    yield PLAIN, "no radio header", b"", None


def frames_80211():
    """Frames without their radio header: with and without padding, no, right and wrong FCS, every body length."""
    for header in dot11_headers():
        for padding, size in itertools.product((b"", b"\xee\xee"), (0, 1, 3, 4, 5, 100)):
            body = bytes(range(1, size + 1))
            crc = binascii.crc32(header + body)
            for fcs in (b"", struct.pack("<I", crc), struct.pack("<I", crc ^ 0x8000)):
                yield header + padding + body + fcs


def cases():
    radio = list(radio_headers())
    for frame in frames_80211():
        # The DS bits and the subtype matter for data frames alone; of the others every third will do.
        chosen = radio if frame[0] & 0x0C == 8 else radio[frame[0] >> 4 & 3::3]
        for data_link_type, name, header, flags in chosen:
            captured = header + frame
            if flags is None:
                yield data_link_type, name, captured, len(captured)
            else:
                yield data_link_type, name, captured, expected_length(captured, len(header), flags)
        # A Common field whose data begins at the header's end: the frame itself is its data, a byte of it the flags.
        for flags in (0, FCS, BAD):
            marked = frame[:8] + bytes([ppi_flags(flags)]) + frame[9:] if len(frame) > 8 else frame
            captured = ppi(struct.pack("<HH", 2, 20)) + marked
            found = flags if len(marked) >= 24 else 0
            yield PPI, "PPI, common begins at the end", captured, expected_length(captured, 12, found)
    # Headers that do not end inside the captured bytes.
    frame = next(iter(frames_80211()))
    for length in (0x8000, 0xFFFF, 0x7FFF):
        yield PPI, "PPI, length outside", ppi(b"", length) + frame, 8 + len(frame)
        yield RADIOTAP, "radiotap, length outside", struct.pack("<BBHI", 0, 0, length, 0) + frame, 8 + len(frame)


def compare(program, batch):
    records = b"".join(struct.pack("<II", case[0], len(case[2])) + case[2] for case in batch)
    run = subprocess.run([program], input=records, stdout=subprocess.PIPE, check=True)
    lengths = [int(line) for line in run.stdout.split()]
    if len(lengths) != len(batch):
        sys.exit("%d lengths for %d frames" % (len(lengths), len(batch)))
    failures = 0
    for (data_link_type, name, captured, wanted), length in zip(batch, lengths):
        if length != wanted:
            failures += 1
            if failures <= 10:
                print("%s: %d instead of %d for %s" % (name, length, wanted, captured.hex()))
    return failures, sum(case[3] < len(case[2]) for case in batch)


def main():
    compared = failures = sliced = 0
    source = cases()
    while batch := list(itertools.islice(source, 100000)):
        batch_failures, batch_sliced = compare(sys.argv[1], batch)
        compared += len(batch)
        failures += batch_failures
        sliced += batch_sliced
    print("%d frames compared, %d of them to be sliced, %d differ" % (compared, sliced, failures))
    sys.exit(1 if failures or not sliced else 0)


main()
