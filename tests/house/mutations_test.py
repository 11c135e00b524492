"""scripts/run-mutations on a small tree: it tells a fault that is caught from one that is not, and leaves the tree as
it was."""
import difflib
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "scripts/run-mutations"

# What is built must hold "compiles", and the tests look for "right" and for nothing at all.
CMAKE = """cmake_minimum_required(VERSION 3.25)
project(Small NONE)
enable_testing()
set(source ${CMAKE_SOURCE_DIR}/engine/Q.cpp)
add_custom_target(test_engine COMMAND grep -q compiles ${source})
add_test(NAME engine.Q.IsRight COMMAND grep -q right ${source})
add_test(NAME engine.Q.Sleeps COMMAND true)
add_test(NAME engine.Q.IsSkipped COMMAND sh -c "exit 77")
set_tests_properties(engine.Q.IsSkipped PROPERTIES SKIP_RETURN_CODE 77)
"""
PRESETS = """{"version": 6, "configurePresets": [{"name": "dev", "generator": "Ninja",
              "binaryDir": "${sourceDir}/build/${presetName}"}]}"""
SOURCE = "this\nis right\ncompiles\n"
TABLE = "| the right is wrong | `engine.Q.IsRight` |\n"
TREE = {"CMakeLists.txt": CMAKE, "CMakePresets.json": PRESETS, "engine/Q.cpp": SOURCE, ".gitignore": "/build/\n",
        "tests/engine/Q_test.cpp": "TEST(Q, IsRight) {}\nTEST_F(Q,\n       Sleeps) {}\nTEST(Q, IsSkipped) {}\n",
        "docs/testing.md": TABLE}


class Mutations(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name).resolve()
        for path, content in TREE.items():
            self.write(path, content)
        (self.root / "scripts").mkdir()
        shutil.copy(SCRIPT, self.root / "scripts")
        subprocess.run(["git", "init", "-q", self.root], check=True)

    def write(self, path, content):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(content)

    def patch(self, name="01-right", what="the right is wrong", test="engine.Q.IsRight", source=SOURCE,
              change=("right", "wrong")):
        changed = source.replace(*change)
        hunks = difflib.unified_diff(source.splitlines(True), changed.splitlines(True), "a/engine/Q.cpp",
                                     "b/engine/Q.cpp")
        heading = f"What: {what}\nTarget: test_engine\nTest: {test}\n\ndiff --git a/engine/Q.cpp b/engine/Q.cpp\n"
        self.write(f"tests/mutations/{name}.patch", heading + "".join(hunks))

    def run_it(self, *words):
        """Exit status and output."""
        done = subprocess.run([self.root / "scripts/run-mutations", *words], capture_output=True, text=True,
                              timeout=120)
        return done.returncode, done.stdout + done.stderr

    def test_a_fault_that_is_caught(self):
        self.patch()
        for _ in range(2):  # the second time in the copy that is there
            status, said = self.run_it()
            self.assertRegex(said, r"01-right +caught by engine\.Q\.IsRight, \d+ s\n1 of 1 caught\n")
            self.assertEqual(status, 0)
        self.assertEqual((self.root / "engine/Q.cpp").read_text(), SOURCE)
        self.assertEqual((self.root / "build/mutations/tree/engine/Q.cpp").read_text(), SOURCE)

    def test_a_fault_that_is_not_caught(self):
        self.patch()
        self.patch("02-asleep", test="engine.Q.Sleeps")
        status, said = self.run_it()
        self.assertIn("02-asleep                    NOT CAUGHT by engine.Q.Sleeps (run)", said)
        self.assertIn("1 of 2 caught", said)
        self.assertEqual(status, 1)
        self.assertEqual(self.run_it("1-right")[0], 2)
        self.assertEqual(self.run_it("right")[0], 0)
        self.assertEqual(self.run_it("02")[0], 1)

    def test_faults_that_say_nothing_of_the_tests(self):
        self.patch("01-broken", change=("compiles", "does not"))
        self.patch("02-elsewhere", source="this\nis left\ncompiles\n", change=("left", "wrong"))
        self.patch("03-skipped", test="engine.Q.IsSkipped")
        self.patch("04-nobody", test="engine.Q.IsNot")
        status, said = self.run_it()
        self.assertRegex(said, "01-broken +DOES NOT COMPILE")
        self.assertRegex(said, "02-elsewhere +does not apply: ")
        self.assertIn("03-skipped: engine.Q.IsSkipped does not pass without the fault (notrun)", said)
        self.assertIn("04-nobody: engine.Q.IsNot does not pass without the fault (None)", said)
        self.assertIn("0 of 4 caught", said)
        self.assertEqual(status, 1)

    def test_the_tree_without_a_fault_must_build(self):
        self.patch()
        self.write("engine/Q.cpp", "this\nis right\n")
        status, said = self.run_it()
        self.assertIn("the tree does not build (dev)", said)
        self.assertEqual(status, 1)

    # What ./dev test looks at

    def test_a_patch_that_is_right(self):
        self.patch()
        self.assertEqual(self.run_it("--check"), (0, ""))

    def test_patches_that_are_wrong(self):
        for reason, wrong in {"does not apply: ": {"source": "is left\n", "change": ("left", "wrong")},
                              "there is no test": {"test": "engine.Q.IsNot"},
                              "has no row of its own in docs/testing.md": {"what": "something else"},
                              "its heading lacks": {"what": ""}}.items():
            with self.subTest(reason):
                self.patch(**wrong)
                status, said = self.run_it("--check")
                self.assertEqual(status, 1)
                self.assertIn(f"01-right: {reason}", said)

    def test_no_patch_at_all_is_wrong(self):
        self.assertEqual(self.run_it("--check")[0], 1)


if __name__ == "__main__":
    unittest.main()
