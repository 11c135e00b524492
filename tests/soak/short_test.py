"""A soak of less than a minute at a low rate, from beginning to end; and its reading of one of that run's own files,
whole, and then without one frame.

    short_test.py BUILD_FOLDER
"""
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from frames import FILE_HEADER, Capture

SOAK = Path(__file__).with_name("soak.py")
SKIPPED = 77
RATE = 5000
MINUTES = 0.2
LIMIT = 150  # seconds
# How quickly a machine answers that runs other tests meanwhile is not judged here.
NOT_JUDGED = ("FAILED answers",)


class Short(unittest.TestCase):
    build = None

    @classmethod
    def setUpClass(cls):
        cls.output = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="vantrel-soak-")))
        cls.done = subprocess.run([sys.executable, SOAK, "--minutes", str(MINUTES), "--rate", str(RATE), "--keep",
                                   "--build", cls.build, "--output", cls.output], capture_output=True, text=True,
                                  timeout=LIMIT, check=False)
        if cls.done.returncode == SKIPPED:
            raise unittest.SkipTest(cls.done.stdout.strip())

    def figures(self):
        return {line[7:].partition(":")[0]: line for line in self.done.stdout.splitlines()[1:]}

    def test_every_figure_holds(self):
        report = (self.output / "report.txt").read_text() if (self.output / "report.txt").exists() else ""
        failed = [line for line in self.done.stdout.splitlines()
                  if line.startswith("FAILED") and not line.startswith(NOT_JUDGED)]
        self.assertEqual(failed, [], report)
        self.assertGreater(len(self.figures()), 20, self.done.stdout + self.done.stderr)
        self.assertTrue(report.startswith(self.done.stdout))

    def test_the_series_are_there(self):
        for name in ("series.csv", "answers.csv"):
            self.assertGreater(len((self.output / name).read_text().splitlines()), 20, name)

    def test_one_frame_less_is_found(self):
        whole = Capture(RATE).read(self.output / "capture.pcap")
        self.assertEqual((whole.holes, whole.backward, whole.altered, whole.torn), (0, 0, 0, 0), whole.told)
        self.assertGreater(whole.load, RATE // 2)
        content = (self.output / "capture.pcap").read_bytes()
        for at, kept in records(content):
            if at > len(content) // 2 and kept == 51:  # one of the load, in the middle
                break
        (self.output / "less.pcap").write_bytes(content[:at] + content[at + 16 + kept:])
        less = Capture(RATE).read(self.output / "less.pcap")
        self.assertEqual((less.records, less.holes, less.missing), (whole.records - 1, 1, 1))


def records(content):
    at = FILE_HEADER.size
    while at < len(content):
        kept, = struct.unpack_from("<I", content, at + 8)
        yield at, kept
        at += 16 + kept


if __name__ == "__main__":
    Short.build = sys.argv.pop(1)
    result = unittest.main(verbosity=2, exit=False).result
    for _, reason in result.skipped:
        print(f"skipped: {reason}")
    sys.exit(1 if not result.wasSuccessful() else SKIPPED if result.skipped else 0)
