"""Those who use the radiotap parser, beside tshark: what server and client of the feed read of a beacon's reception.
And what the simulated radio writes.

    radiotap_readers_against_tshark.py PATH_OF_RADIOTAP_READERS PATH_OF_RADIOTAP_RECEPTIONS [RECORDS [SEED]]
"""
import binascii
import os
import random
import struct
import subprocess
import sys
import tempfile
import unittest

import radiotap_headers as headers
from beside_tshark import RADIOTAP, arguments, by_tshark, number, write_capture

READERS, RECEPTIONS, COUNT, SEED = "", "", 1500, 1
PAST = "radiotap.data_past_header"
HEARD = ["radiotap.length", "radiotap.present.word", PAST, "radiotap.dbm_antsignal", "radiotap.dbm_antnoise",
         "radiotap.channel.freq", "wlan.fc.type_subtype", "wlan.bssid"]
WRITTEN = ["radiotap.mactime", "radiotap.channel.freq", "radiotap.datarate", "radiotap.mcs.index", "radiotap.mcs.bw",
           "radiotap.vht.mcs.0", "radiotap.vht.nss.0", "radiotap.vht.bw", "radiotap.dbm_antsignal",
           "radiotap.dbm_antnoise", "radiotap.antenna", "radiotap.flags.badfcs"]
BEACON, PROBE_RESPONSE = 8, 5
VHT_BANDWIDTH = {"1": 0, "2": 1, "3": 4, "4": 11}  # 20, 40, 80 and 160 MHz, by CWChannel's width code
BOTH = headers.bits(headers.RADIOTAP_NAMESPACE, headers.VENDOR_NAMESPACE)


def beacon(rng):
    kind = rng.choice((0x80, 0x80, 0x50, 0x40))
    bssid = b"\x02" + rng.randbytes(5)
    body = bytes([kind, 0]) + bytes(2) + b"\x02" + rng.randbytes(5) + bssid + bssid + bytes(2) + bytes(8)
    body += struct.pack("<HH", 100, 1) + b"\x00\x03Lab"
    return body + struct.pack("<I", binascii.crc32(body) ^ (rng.random() < 0.1))


def read_alike(data):
    """Whether tshark and we read such a header alike: each word leads to one namespace, and there is no field but those
    we know. What differs otherwise is told in radiotap_against_tshark.py."""
    words, at = [], 4
    while at + 4 <= len(data) and (not words or words[-1] >> headers.EXTENDED):
        words.append(int.from_bytes(data[at:at + 4], "little"))
        at += 4
    newer = headers.bits(*headers.NEWER)
    leads_on = all(word & BOTH not in (0, BOTH) for word in words[:-1])
    return leads_on and words[-1] & BOTH != BOTH and not any(word & newer for word in words) \
        and int.from_bytes(data[2:4], "little") >= 8


def beacons(rng, count):
    made = 0
    while made < count:
        _, data = headers.combination(rng)
        if rng.random() < 0.2:
            _, data = headers.damaged(rng, data)
        if read_alike(data):
            yield data + beacon(rng)
            made += 1


def last(values):
    return number(values[-1]) if values else None


def heard_by_tshark(data, columns):
    """A line of radiotap_readers, by what tshark shows. That a frame has a check sequence is taken for granted here,
    and not looked up in the flags."""
    signal, noise, frequency = (last(columns[name]) for name in HEARD[3:6])
    start = int.from_bytes(data[2:4], "little")
    right = binascii.crc32(data[start:-4]) == int.from_bytes(data[-4:], "little") and len(data) > start + 4
    walked = bool(columns["radiotap.present.word"]) and not columns[PAST]
    valid = walked and right and last(columns["wlan.fc.type_subtype"][:1]) in (BEACON, PROBE_RESPONSE)
    server = [valid, signal or 0, noise or 0, columns["wlan.bssid"][0] if valid else "-"]
    client = ["-" if not valid or value is None else value for value in (signal, noise, frequency)]
    return " ".join(str(int(value) if isinstance(value, bool) else value) for value in server + client)


class AgainstTshark(unittest.TestCase):
    def setUp(self):
        print("%d records, seed %d" % (COUNT, SEED), flush=True)
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = os.path.join(folder.name, "frames.pcap")

    def output(self, *command):
        return subprocess.run(command, stdout=subprocess.PIPE, text=True, check=True).stdout.splitlines()

    def test_how_a_beacon_was_heard(self):
        records = list(beacons(random.Random(SEED), COUNT))
        write_capture(self.path, RADIOTAP, records)
        ours = self.output(READERS, self.path)
        shown = by_tshark(self.path, HEARD)
        theirs = [heard_by_tshark(data, columns) for data, columns in zip(records, shown, strict=True)]
        pairs = zip(records, ours, theirs, strict=True)
        differing = [(data.hex(), mine, other) for data, mine, other in pairs if mine != other]
        self.assertEqual(differing[:3], [])
        valid = sum(line.startswith("1") for line in ours)
        print("%d valid, %d not" % (valid, COUNT - valid))
        self.assertGreater(min(valid, COUNT - valid), COUNT // 5)

    def test_what_the_simulated_radio_writes(self):
        ours = [line.split() for line in self.output(RECEPTIONS, self.path, str(COUNT), str(SEED))]
        for mine, shown in zip(ours, by_tshark(self.path, WRITTEN + ["wlan.fcs.status", "_ws.malformed"]), strict=True):
            theirs = [shown[name][0] if shown[name] else "-" for name in WRITTEN]
            if mine[2] == "-":
                theirs[2] = "-"  # which tshark computes from the others
            else:
                mine[2] = str(int(mine[2]) / 2)
            mine[7] = str(VHT_BANDWIDTH.get(mine[7], "-"))
            theirs, mine = ([value if value == "-" else number(value) for value in line] for line in (theirs, mine))
            self.assertEqual(theirs, mine)
            self.assertEqual(shown["wlan.fcs.status"], ["0" if mine[-1] else "1"])
            self.assertEqual(bool(shown["_ws.malformed"]), mine[-1] == 1)  # the check sequence is all that is wrong


if __name__ == "__main__":
    READERS, RECEPTIONS, COUNT, SEED = arguments(2, COUNT, SEED)
    unittest.main(argv=sys.argv[:1])
