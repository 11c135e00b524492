"""Each rule of scripts/check-documents, on small trees made for it: it fires where it must, and nowhere else."""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "scripts" / "check-documents"

DEV = """#!/usr/bin/env bash
usage() {
    cat <<'EOF'
usage: ./dev COMMAND
  run             build and run
  fuzz SECONDS    run every fuzz target
EOF
}
"""

RIGHT = """# A tree

[here](ARCHITECTURE.md), [`there`](docs/a.md#the-way-of-a-frame "a title"), [above](#a-tree), ![](docs/images/x.png)
<https://example.org/missing.md> [away](https://example.org/b.md), [the folder](docs/), [mail](mailto:a@example.org)

`engine/include/engine/Q.h`, `engine/Q.h`, `Q.h`, `engine/`, `include/engine/`, `engine/*.cpp`,
`./scripts/lint build/x`, `build/dev/X.h`, `<room>/include/<room>/X.h`, `/var/tmp`,
`~/.config/vantrel/settings.json`, `Qt6::Core`, `1/2`, `settings.json`, `QCoreApplication::quit`, ``./dev``,
`./dev run`, `std::move(x).y`; plain words: engine/missing.cpp

`vantrel-tool --port 1 --json | other --none`, `build/bin/vantrel-tool --json`, `./dev fuzz --long`, `VANTREL_RADIO=x`,
`scripts/lint --deep -- --none`, `other --none # scripts/lint --none`, `vantrel-<uid>`, `vantrel-tool-launch`, **Bold is no text**
> “Users & Groups: go
> there”
“Status: Off”, “Save
now”, “File … out of …: …”, “Could not open "…": 5 % of … are gone”, “Ask for … & wait…”

    ./dev fuzz 60    # each target, for a minute
    {"LimitCaptureFile": 1}

```
$ ./dev run
```
"""

DEV_OPTIONS = DEV + "[ $1 = --long ]\n"

TEXTS = """// "No text of a program."
constexpr auto off = u"" QT_TRANSLATE_NOOP("vantrel", "Status: &Off"), quote = u'"';
constexpr char several[] = "File %1 out of %2"  // and the rest
                           ": %lu";
constexpr char failed[] = "Could not open \\"%1\\": 5 %% of %.2f are gone";
constexpr auto help = R"(usage: vantrel-tool [options]

  --port N   the port
  --json     lines
)";
constexpr char where[] = "Users & Groups: go there";
getenv("VANTREL_RADIO");
"""
INTERFACE = "<ui><string>&amp;Save now</string><string>Ask for %1 &amp;&amp; wait…</string></ui>"

CLEAN = {"dev": DEV_OPTIONS, "ui/Texts.h": TEXTS, "ui/Panel.ui": INTERFACE,
         "app/CMakeLists.txt": "add_executable(vantrel-tool main.cpp)\nvantrel_launched(vantrel-tool)\n", "README.md": RIGHT, "ARCHITECTURE.md": "",
         "docs/a.md": "## The way of a frame\n[up](../README.md)\n", "docs/images/x.png": b"\xff",
         "engine/include/engine/Q.h": "", "engine/Q.cpp": "", "scripts/lint": "#!/bin/sh\necho --deep\n",
         "tests/T.cpp": 'auto text = "A test shows this.";'}


class CheckDocuments(unittest.TestCase):
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

    def check(self, text, path="docs/new.md"):
        """The findings on the clean tree with this document added."""
        self.write({path: text})
        done = subprocess.run([sys.executable, SCRIPT, self.root], capture_output=True, text=True, timeout=60)
        self.assertEqual(done.stderr, "")
        self.assertEqual(done.returncode, 1 if done.stdout else 0)
        return done.stdout.splitlines()

    def test_a_clean_tree_passes(self):
        self.assertEqual(self.check(""), [])

    def test_missing_links(self):
        for target in ("b.md", "../b.md", "README.md", "../../README.md", "images/y.png", "../docs/b.md#x"):
            for text in (f"\n[x]({target})\n", f"\n![x]({target} 'title')\n", f"\n[x]: {target}\n"):
                with self.subTest(text):
                    self.assertEqual(self.check(text), [f"docs/new.md:2: links to a missing file: {target}"])

    def test_missing_headings(self):
        for target in ("a.md#the-way", "#new"):
            self.assertEqual(self.check(f"[x]({target})"), [f"docs/new.md:1: links to a missing heading: {target}"])
        self.assertEqual(self.check("# New\n[x](#new) [y](a.md#the-way-of-a-frame)"), [])

    def test_missing_paths(self):
        for name in ("engine/R.h", "engin/Q.h", "R.h", "docs/missing", "tools/", "docs/*.txt", "./scripts/no", "b.md"):
            with self.subTest(name):
                found = [f"docs/new.md:2: names a missing file: {name}"]
                self.assertEqual(self.check(f"\nsee `{name}`, so\n"), found)
                self.assertEqual(self.check(f"\n    {name}  # so\n"), found)
                self.assertEqual(self.check(f"```\n{name}\n```\n"), found)

    def test_a_path_among_other_words_of_code(self):
        self.assertEqual(self.check('`#include "engine/R.h"` and `scripts/lint docs/none`'),
                         ["docs/new.md:1: names a missing file: \"engine/R.h\"",
                          "docs/new.md:1: names a missing file: docs/none"])

    def test_missing_commands(self):
        for text in ("\nuse `./dev runs`\n", "\n    ./dev runs     # so\n", "```\n$ ./dev runs\n```\n"):
            with self.subTest(text):
                self.assertEqual(self.check(text), ["docs/new.md:2: ./dev has no command runs"])

    def test_missing_programs_and_variables(self):
        self.assertEqual(self.check("`vantrel-tols`, `build/dev/bin/vantrel-none -v`, `VANTREL_NONE=1 vantrel-tool`"),
                         ["docs/new.md:1: names a missing program: vantrel-tols",
                          "docs/new.md:1: names a missing program: build/dev/bin/vantrel-none",
                          "docs/new.md:1: names a missing variable: VANTREL_NONE"])

    def test_missing_options(self):
        for command, option in {"vantrel-tool --jso": "vantrel-tool has no option --jso",
                                "sudo build/dev/bin/vantrel-tool --port 1 --loud":
                                    "build/dev/bin/vantrel-tool has no option --loud",
                                "$ X=1 scripts/lint --deeper": "scripts/lint has no option --deeper",
                                "./dev fuzz --lon": "./dev has no option --lon",
                                "ls --all | vantrel-tool --once": "vantrel-tool has no option --once"}.items():
            with self.subTest(command):
                self.assertEqual(self.check(f"\nrun `{command}`\n"), [f"docs/new.md:2: {option}"])
                self.assertEqual(self.check(f"```\n{command}\n```\n"), [f"docs/new.md:2: {option}"])

    def test_texts_that_no_program_shows(self):
        for text in ("Status: On", "No text of a program.", "Status: Of", "File … out of …", "A test shows this.",
                     "Could not open …: … % of … are gone"):
            with self.subTest(text):
                self.assertEqual(self.check(f"\nsays “{text}”,\n"),
                                 [f"docs/new.md:2: no program shows this text: {text}"])

    def test_a_text_over_two_lines(self):
        self.assertEqual(self.check("so\n\n> “Save\nnone”\n"),
                         ["docs/new.md:3: no program shows this text: Save none"])
        self.assertEqual(self.check("a code `“x”` and a block\n\n    “y”\n\n```\n“z”\n```\n"), [])

    def test_bold_words_for_users(self):
        text = "choose **Save now**, then **Save\nlater**"
        self.assertEqual(self.check(text), [])
        self.assertEqual(self.check(text, "docs/user-guide.md"),
                         ["docs/user-guide.md:1: no program shows this text: Save later"])

    def test_only_what_git_may_commit_counts(self):
        subprocess.run(["git", "init", "-q", self.root], check=True)
        self.write({".gitignore": "/out/\n", "out/b.md": "[x](none.md)"})
        self.assertEqual(self.check("[x](../out/b.md) [y](a.md)"),
                         ["docs/new.md:1: links to a missing file: ../out/b.md"])


if __name__ == "__main__":
    unittest.main()
