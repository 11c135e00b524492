"""What our PPI parser and the slicing read in generated and damaged headers, beside what tshark reads there.

    ppi_against_tshark.py PATH_OF_RADIOTAP_FIELDS [RECORDS [SEED]]
"""
import random
import struct
import sys
import unittest

from beside_tshark import PPI, Compared, Rule, Tally, arguments, frame_differences, number, read_by_both
from radiotap_headers import FCS, frame

PROGRAM, COUNT, SEED = "", 3000, 1
FIXED_SIZE = 8  # bytes in front of the first field
COMMON, COMMON_SIZE, FLAGS_AT = 2, 20, 8
FRAME_TYPE = 105  # plain 802.11, as data-link types are numbered
OTHERS = (5, 6, 7, 20, 300)  # spectrum map, process and capture information, and what nobody has defined
OTHERS_80211N = (3, 4, 8, 9)  # MAC, MAC and PHY, aggregation, 802.3 extension
ALIGNED = 0x01      # of the header's flags
HAS_FCS, TSFT_IN_MS, BAD = 0x01, 0x02, 0x04  # of the Common field's flags
COMMON_COLUMNS = ["ppi.80211-common.flags", "ppi.80211-common.flags.fcs", "ppi.80211-common.flags.fcs-invalid"]
COLUMNS = ["ppi.length"] + COMMON_COLUMNS


def field(kind, data, length=None):
    return struct.pack("<HH", kind, len(data) if length is None else length) + data


def common(rng):
    flags = struct.pack("<H", rng.choice((0, 0, *[HAS_FCS] * 9, HAS_FCS | BAD, HAS_FCS | TSFT_IN_MS, rng.randrange(16))))
    return field(COMMON, rng.randbytes(FLAGS_AT) + flags + rng.randbytes(COMMON_SIZE - FLAGS_AT - len(flags)))


def other(rng):
    return field(rng.choice(OTHERS_80211N if rng.random() < 0.04 else OTHERS), rng.randbytes(rng.choice((0, 3, 4, 8, 21))))


def header(rng):
    fields = [other(rng) for _ in range(rng.choice((0, 0, 1, 2, 3)))]
    for _ in range(rng.choice((0, 1, 1, 1, 1, 1, 1, 2))):
        fields.insert(rng.randrange(len(fields) + 1), common(rng))
    if rng.random() < 0.05:
        fields.append(field(COMMON, rng.randbytes(rng.choice((0, 19, 21)))))
    data = b"".join(fields)
    return struct.pack("<BBHI", 0, ALIGNED if rng.random() < 0.05 else 0, FIXED_SIZE + len(data), FRAME_TYPE) + data


def damaged(rng, data):
    data = bytearray(data)
    for _ in range(rng.choice((1, 2))):
        kind = rng.randrange(3)
        if kind == 0:
            data[rng.randrange(len(data))] ^= 1 << rng.randrange(8)
        elif kind == 1:
            length = int.from_bytes(data[2:4], "little") + rng.choice((-8, -4, -1, 1, 4, 30))
            data[2:4] = struct.pack("<H", max(0, length))
        elif len(data) > 12:
            data[10] = rng.randrange(40)  # the length of the first field
    return bytes(data)


def records(rng, count):
    for _ in range(count):
        kind, data = "whole", header(rng)
        at = data.find(struct.pack("<HH", COMMON, COMMON_SIZE))
        flags = FCS if at >= 0 and data[at + 4 + FLAGS_AT] & HAS_FCS else 0
        if rng.random() < 0.25:
            kind, data = "damaged", damaged(rng, data)
        captured = data + frame(rng, flags)
        if rng.random() < 0.03:
            kind, captured = "cut", captured[:rng.randrange(len(captured) + 1)]
        yield kind, captured


class Case:
    """One record, what both read, and what follows from it."""

    def __init__(self, kind, data, ours, theirs):
        self.kind, self.data, self.ours, self.theirs = kind, data, ours, theirs
        self.claimed = int.from_bytes(data[2:4], "little")
        self.flags = [number(text) for text in theirs[COMMON_COLUMNS[0]]]
        self.handed_over = "wlan" in "".join(theirs["frame.protocols"]).split(":")
        self.fields, self.end = self.all_fields()

    def __str__(self):
        return "%s %s, ours %s, theirs %s" % (self.kind, self.data.hex(), vars(self.ours), self.theirs)

    def all_fields(self):
        """Place, kind and length of the fields that begin within the header; and where the last of them ends."""
        fields, at = [], FIXED_SIZE
        while at < self.claimed and at + 4 <= len(self.data):
            fields.append((at, *struct.unpack_from("<HH", self.data, at)))
            at += 4 + fields[-1][2]
        return fields, at


def differences(case):
    ours, theirs = case.ours, case.theirs
    if ours.refused == case.handed_over:
        yield "header"
    if not ours.refused and len(case.data) >= FIXED_SIZE and theirs["ppi.length"] != [str(ours.length)]:
        yield "length"
    if case.handed_over and not ours.refused:
        flags = case.flags[0] if case.flags else 0
        if ours.fcs != (flags & HAS_FCS != 0):
            yield "flags"
        if ours.bad != (flags & BAD != 0):
            yield "bad"
        yield from frame_differences(case.data, ours, theirs, flags & HAS_FCS, flags & BAD)


def first_common(case):
    """Where the first Common field of the right length begins whose data begins within the header, and which has four
    captured bytes behind it."""
    return next((at for at, kind, length in case.fields if (kind, length) == (COMMON, COMMON_SIZE)
                 and at + 4 <= case.claimed and at + 4 + COMMON_SIZE + 4 <= len(case.data)), None)


def has_right_flags(case):
    """Whether our flags are those of that field, whatever tshark shows."""
    at = first_common(case)
    flags = case.data[at + 4 + FLAGS_AT] if at is not None else 0
    return (case.ours.fcs != 0, case.ours.bad != 0) == (flags & HAS_FCS != 0, flags & TSFT_IN_MS != 0)


def ends_elsewhere(case):
    """Then tshark takes the frame to begin there, and not where the header says."""
    shown, control = case.theirs["wlan.fc"][:1], case.data[case.end:case.end + 2]
    other_version = len(control) == 2 and control[0] & 3 != 0  # whose control field is shown in another way
    return case.end != case.claimed and (not shown or other_version or shown == ["0x" + control.hex()])


def is_aligned(case):
    return case.data[1:2] and case.data[1] & ALIGNED and any(length % 4 for _, _, length in case.fields)


def is_of_another_type(case):
    return case.data[4:8] != struct.pack("<I", FRAME_TYPE)


def has_other_common(case):
    return any(kind == COMMON and length != COMMON_SIZE for _, kind, length in case.fields)


def has_two_commons(case):
    return len(case.flags) > 1


def reads_milliseconds_as_bad(case):
    return bool(case.flags) and bool(case.flags[0] & BAD) != bool(case.flags[0] & TSFT_IN_MS)


def has_common_at_the_end(case):
    return first_common(case) is None and any(field[1:] == (COMMON, COMMON_SIZE) for field in case.fields)


def has_11n_fields(case):
    return any(kind in OTHERS_80211N for _, kind, _ in case.fields)


FLAGS = {"flags", "bad"}
FRAME = {"start", "sequence", "body", "kept"}
# The reasons; in brackets what the PPI header document, version 1.0.7, says.
RULES = [
    Rule("fields end elsewhere", ends_elsewhere, {"header"} | FLAGS | FRAME,
         "tshark takes the frame to begin where the last field ends; ours where the length says (it is that of the header "
         "and all fields)"),
    Rule("aligned fields", is_aligned, {"header"} | FLAGS | FRAME,
         "tshark skips what aligns the next field to four bytes; ours takes fields directly one behind the other"),
    Rule("another type of frame", is_of_another_type, {"header"} | FRAME,
         "tshark reads no 802.11 frame where the header tells of another type; slicing does not look"),
    Rule("Common of another length", has_other_common, {"header"} | FLAGS | FRAME,
         "tshark breaks off there; ours passes over it (its length is 20)"),
    Rule("802.11n fields", has_11n_fields, {"header"} | FRAME,
         "tshark breaks off where their length is wrong, or waits for an aggregate's other frames; ours passes over them"),
    Rule("two Common fields", has_two_commons, FRAME,
         "tshark goes by the last, ours by the first (there is one)"),
    Rule("bad check", reads_milliseconds_as_bad, {"bad", "kept"},
         "ours takes bit 1 for a wrong check sequence, on purpose (it is bit 2, bit 1 is the timer's unit)"),
    Rule("Common at the end", has_common_at_the_end, FLAGS | FRAME,
         "ours takes a Common field only if four captured bytes follow it"),
]


class AgainstTshark(Compared, unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        print("%d records, seed %d" % (COUNT, SEED), flush=True)
        cls.tally = Tally(RULES)
        cls.other_flags = 0
        for record in read_by_both(PROGRAM, PPI, list(records(random.Random(SEED), COUNT)), COLUMNS):
            case = Case(*record)
            cls.tally.add(case, differences(case))
            cls.other_flags += not case.ours.refused and not has_right_flags(case)
        cls.tally.print("PPI")

    def test_flags_are_those_of_the_first_common_field(self):
        self.assertEqual(self.other_flags, 0)


if __name__ == "__main__":
    PROGRAM, COUNT, SEED = arguments(1, COUNT, SEED)
    unittest.main(argv=sys.argv[:1])
