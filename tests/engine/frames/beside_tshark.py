"""Has radiotap_fields and tshark read the same frames, compares what both read, and counts what rules explain.

A difference has a name, its aspect. A rule says in which aspects the two may differ, for which records, and why; each
rule is to be narrow, and must have been needed once.
"""
import collections
import os
import shutil
import struct
import subprocess
import sys
import tempfile
from dataclasses import dataclass
from pathlib import Path
from typing import Callable

DOCUMENT = Path(__file__).resolve().parents[3] / "docs" / "testing.md"
RADIOTAP, PPI = 127, 192
BATCH = 20_000  # records in one file
# Nothing that depends on the frames before, nor on how the user set tshark up.
PREFERENCES = ["wlan.check_checksum:TRUE", "wlan.defragment:FALSE", "wlan.enable_decryption:FALSE",
               "ppi.reassemble:FALSE", "radiotap.bit14_fcs_in_header:FALSE", "radiotap.interpret_high_rates_as_mcs:FALSE"]
FRAME_COLUMNS = ["frame.protocols", "wlan.fc", "wlan.ra", "wlan.fcs", "wlan.fcs.status", "llc.type", "data.data",
                 "_ws.malformed"]
SHAPE = ["-T", "fields", "-E", "separator=;", "-E", "occurrence=a", "-E", "aggregator=/s"]

# An LLC header with an Ethernet type for local experiments (IEEE Std 802, 9.2.3): what follows it is plain data.
LLC = bytes.fromhex("aaaa0300000088b5")
SMALLEST = 44           # bytes of a frame that has room for each header, HT control and a check sequence
# Of a frame's second byte; with ORDER, HT control follows QoS control.
MORE_FRAGMENTS, PROTECTED, ORDER = 0x04, 0x40, 0x80
CHECK_IS_RIGHT = "1"    # wlan.fcs.status

# Of data frames with a payload, by subtype and four addresses (IEEE Std 802.11-2020, 9.3.2.1).
HEADER_LENGTHS = {}
for _subtype in range(4):
    HEADER_LENGTHS |= {(_subtype, False): 24, (_subtype, True): 30, (_subtype | 8, False): 26, (_subtype | 8, True): 32}


def write_capture(path, link_type, frames):
    with open(path, "wb") as out:
        out.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 262144, link_type))
        for at, frame in enumerate(frames):
            out.write(struct.pack("<IIII", at // 1000, at % 1000, len(frame), len(frame)) + frame)


def by_tshark(path, columns):
    """What tshark shows of each frame: by column the list of its values, as text."""
    command = ["tshark", "-n", "-r", path, *SHAPE]
    for preference in PREFERENCES:
        command += ["-o", preference]
    for column in columns:
        command += ["-e", column]
    environment = dict(os.environ, HOME=os.path.dirname(path))
    run = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env=environment)
    if run.returncode != 0:
        raise RuntimeError("tshark: " + run.stderr)
    for line in run.stdout.splitlines():
        yield {column: value.split() for column, value in zip(columns, line.split(";"), strict=True)}


class Reading:
    """One line of radiotap_fields."""

    def __init__(self, line):
        first, last, header, kept, *fields = line.split(" ")
        self.first = None if first == "-" else int(first)
        self.last = None if last == "-" else int(last)
        self.refused = header == "-"
        self.length = self.fcs = self.padding = self.bad = 0
        if not self.refused:
            self.length, self.fcs, self.padding, self.bad = (int(part) for part in header.split(":"))
        self.kept = int(kept)
        self.fields = []  # number and bytes
        for field in fields:
            place, data = field.split("=")
            self.fields.append((int(place.split("@")[0]), bytes.fromhex(data)))


def by_us(program, path):
    run = subprocess.run([program, path], stdout=subprocess.PIPE, text=True, check=True)
    return [Reading(line) for line in run.stdout.splitlines()]


def read_by_both(program, link_type, records, columns):
    """Of each record its kind, its bytes, and what the program and tshark read."""
    for start in range(0, len(records), BATCH):
        batch = records[start:start + BATCH]
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "frames.pcap")
            write_capture(path, link_type, [data for _, data in batch])
            ours, theirs = by_us(program, path), list(by_tshark(path, columns + FRAME_COLUMNS))
        if not len(ours) == len(theirs) == len(batch):
            raise RuntimeError("%d and %d answers for %d frames" % (len(ours), len(theirs), len(batch)))
        for (kind, data), mine, other in zip(batch, ours, theirs):
            yield kind, data, mine, other


def number(text):
    """A value as tshark writes it."""
    if text in ("True", "False"):
        return int(text == "True")
    if "." in text:
        return float(text)
    return int(text.replace(":", ""), 16) if ":" in text else int(text, 0)


def broke_off(theirs):
    """Whether tshark could not read on, which is more than a remark that something is wrong."""
    return "[Malformed" in theirs["_ws.malformed"]


def header_length(frame):
    """Of the 802.11 header without HT control; 0 where the frame is no data frame with a payload."""
    if len(frame) < 2 or frame[0] & 0x0C != 8:
        return 0
    return HEADER_LENGTHS.get((frame[0] >> 4, frame[1] & 3 == 3), 0)


def is_fragment(frame):
    return len(frame) >= 24 and (frame[1] & MORE_FRAGMENTS != 0 or frame[22] & 0x0F != 0)


def has_ht_control(frame):
    return header_length(frame) > 0 and frame[0] & 0x80 != 0 and frame[1] & ORDER != 0


def our_body(frame, ours):
    """What stands behind the LLC header of a data frame, by our reading; None without such a header in its place."""
    length = header_length(frame)
    if not length or frame[1] & PROTECTED:
        return None
    start = length + 4 * has_ht_control(frame)
    start += -start % 4 if ours.padding else 0
    content = frame[start:len(frame) - 4 * ours.fcs]
    return content[len(LLC):] if content.startswith(LLC) else None


def their_body(theirs):
    if theirs["llc.type"] != ["0x88b5"]:
        return None
    return bytes.fromhex("".join(theirs["data.data"]).replace(":", ""))


def kept_by_tshark(captured, start, theirs, fcs, bad):
    """The length that slicing keeps, by what tshark says of the flags and of the check sequence."""
    frame = captured[start:]
    length = header_length(frame)
    if not length or bad:
        return len(captured)
    behind = len(frame) - length
    right = behind >= 5 and theirs["wlan.fcs.status"][:1] == [CHECK_IS_RIGHT] if fcs else behind >= 1
    return start + length if right else len(captured)


def frame_differences(captured, ours, theirs, fcs, bad):
    """The aspects of the frame, which both found, in which the two readings differ; the flags are those of tshark."""
    frame = captured[ours.length:]
    if len(frame) >= SMALLEST and frame[0] & 3 == 0:
        if theirs["wlan.fc"][:1] != ["0x" + frame[:2].hex()]:
            yield "start"
        if theirs["wlan.ra"] and theirs["wlan.ra"][0] != frame[4:10].hex(":"):
            yield "start"
        if bool(theirs["wlan.fcs"]) != bool(ours.fcs) and not broke_off(theirs):
            yield "sequence"
    if not is_fragment(frame) and our_body(frame, ours) != their_body(theirs):
        yield "body"
    if ours.kept != kept_by_tshark(captured, ours.length, theirs, fcs, bad):
        yield "kept"


@dataclass
class Rule:
    name: str
    holds: Callable  # for a case
    aspects: set     # in which the two may differ then
    reason: str


class Tally:
    """Which rules were needed, and what none of them explains."""

    def __init__(self, rules):
        self.rules = rules
        self.needed = collections.Counter({rule.name: 0 for rule in rules})
        self.kinds = collections.Counter()
        self.differing = 0
        self.unexplained = []

    def add(self, case, differences):
        self.kinds[case.kind] += 1
        open_aspects = set(differences)
        self.differing += bool(open_aspects)
        for rule in self.rules:
            if open_aspects & rule.aspects and rule.holds(case):
                open_aspects -= rule.aspects
                self.needed[rule.name] += 1
        if open_aspects:
            self.unexplained.append((case, open_aspects))

    def not_told(self):
        """The rules that the documents do not name."""
        text = DOCUMENT.read_text(encoding="utf-8")
        return [rule.name for rule in self.rules if f"| {rule.name} |" not in text]

    def print(self, title):
        total = sum(self.kinds.values())
        kinds = ", ".join("%d %s" % (count, kind) for kind, count in self.kinds.items())
        print("%s: %d records (%s)" % (title, total, kinds))
        print("%d read alike, %d differ, %d of them unexplained" % (total - self.differing, self.differing,
                                                                  len(self.unexplained)))
        for rule in self.rules:
            print("%8d  %s: %s" % (self.needed[rule.name], rule.name, rule.reason))
        for case, aspects in self.unexplained[:10]:
            print("unexplained: %s in %s" % (", ".join(sorted(aspects)), case))


class Compared:
    """What holds of every comparison; the class that inherits it has made its tally."""

    def test_every_difference_is_explained(self):
        self.assertEqual(len(self.tally.unexplained), 0)

    def test_every_rule_is_needed(self):
        self.assertEqual([name for name, count in self.tally.needed.items() if count == 0], [])

    def test_every_rule_is_told(self):
        self.assertEqual(self.tally.not_told(), [])


def arguments(programs, count, seed):
    """Of the command line: the paths of so many programs, then how many records, and the seed, where they are given.
    Without tshark there is nothing to compare with."""
    if not shutil.which("tshark"):
        print("tshark is not installed")
        sys.exit(77)
    numbers = [int(text) for text in sys.argv[1 + programs:]]
    return *sys.argv[1:1 + programs], *(numbers + [count, seed][len(numbers):])
