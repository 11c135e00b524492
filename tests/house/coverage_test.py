"""scripts/report-coverage adds up what gcovr has counted."""
import json
import subprocess
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
FILE = "base/FileDescriptor.cpp"
ENGINE = "engine/LiveFlag.cpp"


def line(number, count, branches=()):
    return {"line_number": number, "count": count, "gcovr/noncode": False,
            "branches": [{"count": taken} for taken in branches]}


def function(number, count):
    return {"lineno": number, "execution_count": count, "name": f"f{number}"}


class ReportCoverage(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def trace(self, name, files):
        path = self.folder / name
        path.write_text(json.dumps({"files": [{"file": file, "lines": lines, "functions": functions}
                                              for file, (lines, functions) in files.items()]}))
        return str(path)

    def report(self, *traces):
        done = subprocess.run([ROOT / "scripts/report-coverage", *traces], capture_output=True, text=True, check=True)
        return [entry.split() for entry in done.stdout.splitlines() if entry], done.stdout

    def row(self, name, *traces):
        return next(words[1:] for words in self.report(*traces)[0] if words[0] == name)

    def test_each_room_has_its_share(self):
        tests = self.trace("tests.json", {
            FILE: ([line(3, 5, (1, 0)), line(4, 0), line(5, 0), line(8, 1)], [function(3, 5), function(8, 0)]),
            ENGINE: ([line(1, 1)], [function(1, 1)]),
            "wifi/radio/RadioLink.cpp": ([line(1, 0)], []),
            "tests/base/FileDescriptor_test.cpp": ([line(1, 0)], [])})
        self.assertEqual(self.row("base", tests),
                         ["2", "of", "4", "50.0", "%", "50.0", "%", "50.0", "%", "50.0", "%"])
        self.assertEqual(self.row("engine", tests)[:5], ["1", "of", "1", "100.0", "%"])
        self.assertEqual(self.row("wifi", tests)[:3], ["0", "of", "0"])
        self.assertEqual(self.row("wifi/radio", tests)[:3], ["0", "of", "1"])
        self.assertEqual(self.row("all", tests)[:3], ["3", "of", "6"])
        self.assertIn(f"\n{FILE}: 4-5\n", "\n" + self.report(tests)[1])

    def test_what_is_reached_elsewhere_is_told_apart(self):
        tests = self.trace("tests.json", {FILE: ([line(3, 5), line(4, 0), line(5, 0)], [])})
        lab = self.trace("lab.json", {FILE: ([line(3, 1), line(4, 2), line(5, 0)], [])})
        self.assertEqual(self.row("base", tests, lab)[:7], ["1", "of", "3", "33.3", "%", "66.7", "%"])
        self.assertIn(f"{FILE}: 5\n", self.report(tests, lab)[1])
        self.assertEqual([entry.split(": ")[:2] for entry in (self.folder / "uncovered.txt").read_text().splitlines()],
                         [[f"{FILE}:4", "elsewhere"], [f"{FILE}:5", "never"]])


if __name__ == "__main__":
    unittest.main()
