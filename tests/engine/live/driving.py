"""Drives a capture from outside: the frame generator, the session, and what stands in the files afterwards."""
import contextlib
import json
import os
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib

DRIVER, GENERATOR = sys.argv[1:3]
RADIOTAP = bytes.fromhex("000009000200000010")
HEADER = bytes.fromhex("88022c0002c13e00000102" "5a1700000102" "5a17000001" "0000" "0000")


class Line:
    """A program that is spoken to in lines. Reading blocks; the time limit of the whole test ends a hang."""

    def __init__(self, *command, **options):
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, **options)

    def tell(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def hear(self):
        return self.process.stdout.readline().rstrip("\n")

    def ask(self, line):
        self.tell(line)
        return self.hear()

    def end(self):
        with contextlib.suppress(BrokenPipeError):
            self.process.stdin.close()
        self.process.wait()
        self.process.stdout.close()


class Capture(unittest.TestCase):
    """One generator and one session with folders and settings of their own."""

    prefix = ()  # put before the session's command

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="vantrel-live-")))
        self.destination = self.folder / "desktop"
        self.destination.mkdir()
        self.temporary = self.folder / f"vantrel-{os.geteuid()}"
        self.generator = Line(GENERATOR)
        self.addCleanup(self.generator.end)
        self.device = self.generator.hear()
        if self.device.startswith("error:"):
            skip(f"no live device: {self.device}")
        self.session = None

    def settings(self, **values):
        path = self.folder / "config" / "vantrel" / "settings.json"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(json.dumps({"CaptureFilesLocation": str(self.destination), **values}))

    def begin(self, device=None, **options):
        environment = dict(os.environ, TMPDIR=str(self.folder), XDG_CONFIG_HOME=str(self.folder / "config"),
                           XDG_CACHE_HOME=str(self.folder / "cache"))
        self.session = Line(*self.prefix, DRIVER, device or self.device, cwd=self.destination, env=environment,
                            stderr=subprocess.PIPE, **options)
        self.addCleanup(self.session.process.stderr.close)
        self.addCleanup(self.session.end)
        self.assertRegex(self.session.hear(), "^ready ")

    def start(self):
        self.assertEqual(self.session.ask("start"), "capturing")

    def stop(self):
        """The frames of the files that are kept, and those that the kernel dropped."""
        word, frames, dropped = self.session.ask("stop").split()
        self.assertEqual(word, "idle")
        return int(frames), int(dropped)

    def send(self, count, rate, size=300):
        answer = self.generator.ask(f"send {count} {rate} {size}")
        self.assertRegex(answer, rf"^sent {count} in ")
        return float(answer.split()[-1])

    def files(self):
        """The capture's files, oldest first."""
        gathered = sorted(self.destination.glob("vantrel_*/*.pcap"), reverse=True)
        return gathered or sorted([*self.temporary.glob("*.pcap"), *self.destination.glob("*.pcap")],
                                  key=lambda path: path.name)


def skip(reason):
    raise unittest.SkipTest(reason)


def records(path):
    """Each record's captured length, full length and bytes; asserts that the file ends at a record's boundary."""
    content = path.read_bytes()
    magic, major, minor, _, _, snaplen, link = struct.unpack_from("<IHHiIII", content)
    assert (magic, major, minor, snaplen, link) == (0xa1b2c3d4, 2, 4, 2048, 127), path
    at = 24
    while at < len(content):
        assert at + 16 <= len(content), f"{path} ends inside a record's header"
        _, _, captured, length = struct.unpack_from("<IIII", content, at)
        assert at + 16 + captured <= len(content), f"{path} ends inside a record"
        yield captured, length, content[at + 16:at + 16 + captured]
        at += 16 + captured


def numbered(number, size):
    """The frame that the generator sends under that number, rebuilt here."""
    body = bytes((index * 7 + 3) % 256 for index in range(size - 47))
    frame = HEADER + struct.pack("<Q", number) + body
    return RADIOTAP + frame + struct.pack("<I", zlib.crc32(frame))


def number_of(frame):
    return struct.unpack_from("<Q", frame, 35)[0]


def packets_counted_by_capinfos(paths):
    done = subprocess.run(["capinfos", "-T", "-r", "-c", "-E", *paths], capture_output=True, text=True, check=True)
    rows = [row.split("\t") for row in done.stdout.splitlines()]
    assert all(row[1] == "ieee-802-11-radiotap" for row in rows), rows
    return sum(int(row[2]) for row in rows)


def main():
    """Runs the tests of the calling program, which is started with the two programs as its arguments."""
    result = unittest.main(module="__main__", argv=sys.argv[:1] + sys.argv[3:], exit=False).result
    for _, reason in result.skipped:
        print(f"skipped: {reason}")
    sys.exit(1 if not result.wasSuccessful() else 77 if result.skipped else 0)
