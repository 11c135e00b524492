"""Each rule of scripts/check-house, on small trees made for it: it fires where it must, and nowhere else."""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "scripts" / "check-house"

CLEAN = {
    "base/CMakeLists.txt": "vantrel_room(base\n  SOURCES A.cpp\n  LINKS Qt6::Core)\n",
    "base/A.cpp": '#include "base/A.h"\n#include <QObject>\n',
    "base/include/base/A.h": "#pragma once\n",
    "app/settings/CMakeLists.txt": "vantrel_room(settings SOURCES S.cpp LINKS vantrel::base)\n",
    "app/settings/S.cpp": '#include "S.h"\n#include "base/A.h"\n',
    "wifi/CMakeLists.txt": "vantrel_room(wifi SOURCES W.cpp LINKS vantrel::base vantrel::settings)\n",
    "wifi/W.cpp": '#include "settings/S.h"\n#include "wifi/W.h"\n',
    "wifi/radio/CMakeLists.txt": "vantrel_room(radio SOURCES R.cpp LINKS vantrel::wifi)\n"
                                 "add_executable(vantrel-radio main.cpp)\n"
                                 "target_link_libraries(vantrel-radio PRIVATE vantrel_flags vantrel::radio)\n",
    "wifi/radio/R.cpp": '#include "wifi/W.h"\n',
    "engine/frames/F.cpp": '#include "base/A.h"\n',
    "engine/CMakeLists.txt": "add_subdirectory(frames)\n"
                             "vantrel_room(engine SOURCES E.cpp LINKS vantrel::frames PRIVATE_LINKS vantrel::wifi)\n",
    "engine/E.cpp": '#include "frames/F.h"\n#include "delivery/D.h"\n',
    "remote/R.cpp": '#include "engine/E.h"\n#include "wifi/W.h"\n#include "frames/F.h"\n',
    "app/Main.cpp": '#include "services/V.h"\n#include "ui/U.h"\n#include "engine/E.h"\n#include "simulated/X.h"\n',
    "tests/engine/E_test.cpp": '#include "ui/U.h"\n#include "radio/R.h"\n',
    "tests/engine/CMakeLists.txt": "vantrel_test(e SOURCES E_test.cpp LINKS vantrel::ui vantrel::engine)\n",
}

CONTEXTS = """
connect(&timer, &QTimer::timeout, this, [this] { run(1, 2); });
QObject::connect(a, qOverload<int, int>(&A::changed), b, &B::take);
connect(&timer, &QTimer::timeout,
        this,
        [this](int a, int b) { run(a, b); });
if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {}
if (::connect(fd, &address, length) != 0) {}
void connect(int a, int b, int c);
// connect(a, &A::b, [] {});
const auto text = "connect(a, &A::b, [] {})";
const auto raw = R"x(connect(a, &A::b, [] {}))x";
socket.connect(host, 80, QIODevice::ReadWrite);
disconnect(a, &A::b, nullptr);
const auto big = 1'000; connect(a, &A::b, c, [] { return '"'; });
"""


class CheckHouse(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        self.write(CLEAN)

    def write(self, files):
        for path, content in files.items():
            file = self.root / path
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_bytes(content if isinstance(content, bytes) else content.encode())

    def check(self, files=None, script=SCRIPT):
        """The findings on the clean tree with these files added or changed."""
        self.write(files or {})
        done = subprocess.run([sys.executable, script, self.root], capture_output=True, text=True, timeout=60)
        self.assertEqual(done.stderr, "")
        self.assertEqual(done.returncode, 1 if done.stdout else 0)
        return done.stdout.splitlines()

    def assert_arrow(self, findings, place, words):
        self.assertEqual(len(findings), 1, findings)
        self.assertTrue(findings[0].startswith(f"{place}: {words}: an arrow "), findings)

    def test_a_clean_tree_passes(self):
        self.assertEqual(self.check(), [])

    def test_include_that_climbs(self):
        for included in ("../base/A.h", "wifi/../W.h"):
            self.assertEqual(self.check({"wifi/W.cpp": f'\n#include "{included}"\n'}),
                             ["wifi/W.cpp:2: an include climbs out of its room"])
        self.assertEqual(self.check({"wifi/W.cpp": '// #include "../base/A.h"\n'}), [])

    def test_include_up_the_floors(self):
        cases = [("wifi/W.cpp", "engine/E.h", "wifi includes engine"),
                 ("app/settings/S.cpp", "wifi/W.h", "settings includes wifi"),
                 ("base/include/base/A.h", "settings/S.h", "base includes settings"),
                 ("engine/frames/F.cpp", "engine/E.h", "frames includes engine"),
                 ("delivery/D.cpp", "engine/E.h", "delivery includes engine"),
                 ("app/services/V.cpp", "app/Main.h", "services includes app")]
        for path, included, words in cases:
            with self.subTest(path):
                self.setUp()
                self.assert_arrow(self.check({path: f'\n\n#include "{included}"\n'}), f"{path}:3", words)
                self.setUp()
                self.assert_arrow(self.check({path: f"#  include <{included}>\n"}), f"{path}:1", words)

    def test_include_across_a_floor(self):
        cases = [("engine/E.cpp", "ui/U.h", "engine includes ui"), ("ui/panels/P.cpp", "engine/E.h", "ui includes engine"),
                 ("wifi/radio/R.cpp", "simulated/X.h", "radio includes simulated"),
                 ("delivery/D.cpp", "wifi/W.h", "delivery includes wifi"), ("remote/R.cpp", "ui/U.h", "remote includes ui"),
                 ("engine/E.cpp", "remote/R.h", "engine includes remote")]
        for path, included, words in cases:
            with self.subTest(path):
                self.setUp()
                self.assert_arrow(self.check({path: f'#include "{included}"\n'}), f"{path}:1", words)

    def test_link_up_the_floors(self):
        for word in ("LINKS", "PRIVATE_LINKS"):
            with self.subTest(word):
                self.setUp()
                text = f"vantrel_room(wifi\n  SOURCES W.cpp\n  {word} vantrel::base vantrel::ui)\n"
                self.assert_arrow(self.check({"wifi/CMakeLists.txt": text}), "wifi/CMakeLists.txt:3", "wifi links ui")

    def test_link_by_target_link_libraries(self):
        text = "vantrel_room(ui SOURCES U.cpp)\ntarget_link_libraries(vantrel_ui\n  PRIVATE vantrel_engine)\n"
        self.assert_arrow(self.check({"ui/CMakeLists.txt": text}), "ui/CMakeLists.txt:3", "ui links engine")

    def test_link_of_a_program_counts_for_its_folder(self):
        text = "add_executable(vantrel-radio main.cpp)\ntarget_link_libraries(vantrel-radio PRIVATE vantrel::engine)\n"
        self.assert_arrow(self.check({"wifi/radio/CMakeLists.txt": text}), "wifi/radio/CMakeLists.txt:2",
                          "radio links engine")

    def test_link_to_a_second_target_of_a_room(self):
        files = {"ui/panels/CMakeLists.txt": "add_library(vantrel_panes STATIC P.cpp)\n",
                 "engine/CMakeLists.txt": "vantrel_room(engine SOURCES E.cpp LINKS vantrel::panes)\n"}
        self.assert_arrow(self.check(files), "engine/CMakeLists.txt:1", "engine links ui")

    def test_commented_links_do_not_count(self):
        text = "vantrel_room(wifi SOURCES W.cpp\n  LINKS vantrel::base # vantrel::ui (no)\n)\n"
        self.assertEqual(self.check({"wifi/CMakeLists.txt": text}), [])

    def test_circle(self):
        text = ("vantrel_room(uploads SOURCES U.cpp LINKS vantrel::scripts)\n"
                "vantrel_room(scripts SOURCES S.cpp LINKS vantrel::uploads)\n")
        findings = self.check({"delivery/CMakeLists.txt": text})
        self.assertEqual(findings, ["delivery/CMakeLists.txt:1: a circle of links: "
                                    "vantrel_scripts -> vantrel_uploads -> vantrel_scripts"])

    def test_the_table_of_rooms_has_no_circle(self):
        names = {"__file__": str(SCRIPT), "__name__": "check_house"}
        exec(compile(SCRIPT.read_text(), str(SCRIPT), "exec"), names)
        order = list(names["ROOMS"])
        for room, below in names["ROOMS"].items():
            for other in below:
                self.assertLess(order.index(other), order.index(room), f"{room} stands on {other}")

    def test_connect_without_context(self):
        reason = "connect() without a context object"
        for call in ("connect(&timer, &QTimer::timeout, [this] { run(1, 2); });",
                     "QObject::connect(a, &A::changed, run);",
                     "QObject::connect(a, &ns::A::changed, [](int x, int y) { use(x, y); });",
                     "QObject::connect(a, qOverload<int, int>(&A::changed), [] {});",
                     "a->connect(a, &A::changed, [] {});",
                     "connect(\n    a,\n    &A::changed, // a remark, with a comma (\n    [=] { f(g(1), h{2, 3}); });"):
            with self.subTest(call):
                self.assertEqual(self.check({"wifi/W.cpp": "\n" + call}), [f"wifi/W.cpp:2: {reason}"])
                self.assertEqual(self.check({"wifi/W.cpp": "", "wifi/include/wifi/W.h": call}),
                                 [f"wifi/include/wifi/W.h:1: {reason}"])
                self.write({"wifi/include/wifi/W.h": ""})

    def test_connects_that_are_right(self):
        self.assertEqual(self.check({"wifi/W.cpp": CONTEXTS}), [])

    def test_sizes(self):
        for path, bound in (("wifi/W.cpp", 400), ("wifi/include/wifi/W.h", 150)):
            with self.subTest(path):
                self.assertEqual(self.check({path: "\n" * bound}), [])
                self.assertEqual(self.check({path: "\n" * (bound + 1)}),
                                 [f"{path}:{bound + 1}: has {bound + 1} lines; {bound} read well"])
                self.write({path: ""})

    def test_a_large_file_needs_a_reason_and_a_reason_a_large_file(self):
        script = self.root.parent / (self.root.name + "-check-house")
        self.addCleanup(script.unlink)
        text = SCRIPT.read_text()
        start = text.index("\nLARGE = {")
        end = text.index("}\n", start) + 2
        script.write_text(text[:start] + '\nLARGE = {"wifi/W.cpp": "one table"}\n' + text[end:])
        self.assertEqual(self.check({"wifi/W.cpp": "\n" * 401}, script), [])
        self.assertEqual(self.check({"wifi/W.cpp": "\n"}, script),
                         ["wifi/W.cpp:1: stands in the table of large files, but is not large"])

    def test_names_of_one_machine(self):
        host = "py" + "pi.org"
        self.assertEqual(self.check({"docs/a.md": f"\nsee https://files.{host}/x\n"}),
                         [f"docs/a.md:2: names a registry's host: files.{host}"])
        for path in ("work/main", "root/.cache", "home/" + "ann/x"):
            self.assertEqual(self.check({"docs/a.md": f"cd /{path}\n"}), ["docs/a.md:1: names a path of one machine"])
        self.assertEqual(self.check({"docs/a.md": "/home/u/a /home/user/b /accessible/root/c ~/.config\n"}), [])
        self.assertEqual(self.check({"docs/a.md": "tests/" + "work/ and ${X}/" + "work/ and pcap.org\n"}), [])

    def test_files_that_are_not_text_are_passed_over(self):
        self.assertEqual(self.check({"ui/a.png": b"\xff\xfe/" + b"work/"}), [])

    def test_only_what_git_may_commit_is_looked_at(self):
        subprocess.run(["git", "init", "-q", self.root], check=True)
        self.write({".gitignore": "/build/\n/out/\n", "out/W.cpp": '#include "../x.h"\n'})
        self.assertEqual(self.check({"wifi/new.cpp": '#include "../x.h"\n'}),
                         ["wifi/new.cpp:1: an include climbs out of its room"])


if __name__ == "__main__":
    unittest.main()
