"""The steps of scripts/lint that other programs take for it, on a small tree: each passes what is right, and fails with
the place of what is wrong."""
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SCRIPTS = Path(__file__).resolve().parents[2] / "scripts"

CLEAN = {"README.md": "# A tree\nIt receives frames, and onText() is a name.\n",
         "engine/Q.cpp": "// At least one frame is there; radiotap, BSSID, nl80211.\n",
         "app/translations/vantrel_de.ts": "<translation>Aufnahme auf alle Kanäle, teh</translation>\n",
         "fuzz/corpus/settings/typical": "teh\n",
         "dev": '#!/usr/bin/env bash\necho "$1"\n',
         "scripts/tool.py": "print('a')\n"}


class Lint(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        self.write(CLEAN)
        for name in ("lint", "words.txt"):
            shutil.copy(SCRIPTS / name, self.root / "scripts")
        subprocess.run(["git", "init", "-q", self.root], check=True)

    def write(self, files):
        for path, content in files.items():
            file = self.root / path
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text(content)

    def lint(self, *steps):
        """Exit status and output."""
        done = subprocess.run([self.root / "scripts/lint", "build/dev", *steps], capture_output=True, text=True,
                              timeout=60)
        return done.returncode, done.stdout + done.stderr

    def assert_fails(self, step, path, content, finding):
        status, said = self.lint(step)
        self.assertEqual(status, 0, said)
        self.assertIn(f"{step} ", said)
        self.write({path: content})
        status, said = self.lint(step)
        self.assertEqual(status, 1, said)
        self.assertIn("FAILED", said)
        self.assertIn(finding, said)

    @unittest.skipUnless(shutil.which("codespell"), "codespell is not installed")
    def test_a_misspelling_in_a_document(self):
        self.assert_fails("spelling", "docs/new.md", "one\nIt recieves frames.\n", "docs/new.md:2: recieves")

    @unittest.skipUnless(shutil.which("codespell"), "codespell is not installed")
    def test_a_misspelling_in_a_comment(self):
        self.assert_fails("spelling", "engine/Q.cpp", "// the begining\n", "engine/Q.cpp:1: begining")

    @unittest.skipUnless(shutil.which("shellcheck"), "shellcheck is not installed")
    def test_a_fault_in_a_script_without_suffix(self):
        self.assert_fails("shellcheck", "scripts/new", "#!/bin/sh\nrm $1/*\n", "In scripts/new line 2:")

    def test_a_fault_in_a_python_file(self):
        self.assert_fails("python", "scripts/tool.py", "print('a'\n", "scripts/tool.py:1: '(' was never closed")

    def test_a_step_that_is_none(self):
        status, said = self.lint("speling")
        self.assertEqual((status, said), (2, "scripts/lint: no such step: speling\n"))


if __name__ == "__main__":
    unittest.main()
