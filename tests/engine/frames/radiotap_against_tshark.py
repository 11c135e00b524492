"""Compares the fields found in generated radiotap headers with those tshark finds in the same headers.

Usage: radiotap_against_tshark.py <radiotap_fields program>.
"""
import os
import random
import shutil
import struct
import subprocess
import sys
import tempfile

HEADERS = 600

# Of each field one part that tshark shows: its name there and its form (of VHT known, tshark 4.0 gives the high byte).
SHOWN = {
    0: ("radiotap.mactime", "<Q"), 1: ("radiotap.flags", "<B"), 3: ("radiotap.channel.freq", "<H"),
    4: ("radiotap.fhss.hopset", "<B"), 5: ("radiotap.dbm_antsignal", "<b"), 6: ("radiotap.dbm_antnoise", "<b"),
    7: ("radiotap.quality", "<H"), 8: ("radiotap.txattenuation", "<H"), 9: ("radiotap.db_txattenuation", "<H"),
    10: ("radiotap.txpower", "<b"), 11: ("radiotap.antenna", "<B"), 12: ("radiotap.db_antsignal", "<B"),
    13: ("radiotap.db_antnoise", "<B"), 14: ("radiotap.rxflags", "<H"), 15: ("radiotap.txflags", "<H"),
    17: ("radiotap.data_retries", "<B"), 19: ("radiotap.mcs.known", "<B"), 20: ("radiotap.ampdu.reference", "<I"),
    21: ("radiotap.vht.known", "<xB"), 22: ("radiotap.timestamp.ts", "<Q"),
}
# Undefined field 18 is left out: tshark knows it as XChannel.
FIELDS = [number for number in range(23) if number != 18]


def random_header(rng):
    """Up to four present words, each with some fields and its way to the next; more than enough random bytes."""
    words = []
    for _ in range(rng.choice((1, 1, 2, 3, 4))):
        word = sum(1 << number for number in FIELDS if rng.random() < rng.choice((0.1, 0.5)))
        words.append(word | 1 << 29 | 1 << 31)
    words[-1] &= ~(1 << 29 | 1 << 31)
    fields = bytes(rng.randrange(256) for _ in range(72 * len(words) + 8))
    length = 4 + 4 * len(words) + len(fields)
    return struct.pack("<BBH", 0, 0, length) + struct.pack("<%dI" % len(words), *words) + fields


def ours(program, headers):
    records = b"".join(struct.pack("<II", 127, len(header)) + header for header in headers)
    run = subprocess.run([program], input=records, stdout=subprocess.PIPE, check=True)
    for line in run.stdout.decode().splitlines():
        result, *fields = line.split(" ")
        found = {number: [] for number in SHOWN}
        for field in fields:
            number, data = field.split(":")
            if int(number) in SHOWN:
                found[int(number)].append(struct.unpack_from(SHOWN[int(number)][1], bytes.fromhex(data))[0])
        yield int(result), found


def tsharks(headers):
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "headers.pcap")
        with open(path, "wb") as out:
            out.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 127))
            for header in headers:
                frame = header + b"\xd4\x00\x00\x00" + bytes(6) + bytes(4)
                out.write(struct.pack("<IIII", 0, 0, len(frame), len(frame)) + frame)
        command = ["tshark", "-n", "-r", path, "-T", "fields", "-E", "separator=;", "-E", "occurrence=a"]
        for name, _ in SHOWN.values():
            command += ["-e", name]
        environment = dict(os.environ, HOME=folder)
        run = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True, env=environment)
    for line in run.stdout.decode().splitlines():
        columns = line.split(";")
        yield {number: [int(value, 0) for value in column.split(",") if value]
               for number, column in zip(SHOWN, columns)}


def main():
    if not shutil.which("tshark"):
        print("tshark is not installed")
        sys.exit(77)
    rng = random.Random(1)
    headers = [random_header(rng) for _ in range(HEADERS)]
    failures = compared = 0
    found_by_us, found_by_tshark = list(ours(sys.argv[1], headers)), list(tsharks(headers))
    if not len(found_by_us) == len(found_by_tshark) == HEADERS:
        sys.exit("%d and %d answers for %d headers" % (len(found_by_us), len(found_by_tshark), HEADERS))
    for header, (result, mine), theirs in zip(headers, found_by_us, found_by_tshark):
        compared += sum(map(len, theirs.values()))
        if result != -2 or mine != theirs:
            failures += 1
            differing = {SHOWN[number][0]: (mine[number], theirs[number])
                         for number in SHOWN if mine[number] != theirs[number]}
            print("ended with %d, differs in %s: %s" % (result, differing, header.hex()))
    print("%d headers with %d fields compared, %d differ" % (HEADERS, compared, failures))
    sys.exit(1 if failures or not compared else 0)


main()
