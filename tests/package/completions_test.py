"""What bash offers for each command, against what the programs say of themselves.

    completions_test.py FOLDER_OF_COMPLETIONS PROGRAM PROGRAM PROGRAM [unittest arguments]
"""
import re
import subprocess
import sys
import unittest
from pathlib import Path

# Completes the last of the words as an interactive shell does, with the function that the file has named.
COMPLETE = """
. "$1" && shift || exit
words=$(complete -p "$1") || exit
[[ $words =~ ' -F '([^ ]+)' '"$1"$ ]] || exit
COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
"${BASH_REMATCH[1]}" "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}" || exit
printf '%s\\n' "${COMPREPLY[@]}"
"""
OPTION = re.compile(r"^  (--[a-z]+)\b", re.MULTILINE)
SECONDS = 20


def said_by(*command):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=SECONDS, check=False)
    return done.stdout + done.stderr


def offered(program, *words):
    """What is offered for the last word of a command line of this program."""
    done = subprocess.run(["bash", "--norc", "-c", COMPLETE, "bash", FOLDER / program.name, program.name, *words],
                          capture_output=True, text=True, timeout=SECONDS, check=False)
    if done.returncode != 0 or done.stderr:
        raise AssertionError(f"the completion of {program.name} ended with status {done.returncode}: {done.stderr}")
    return set(done.stdout.split())


def program_named(name):
    return next(program for program in PROGRAMS if program.name == name)


class Completions(unittest.TestCase):
    def test_there_is_one_for_each_program_and_no_other(self):
        self.assertEqual(sorted(file.name for file in FOLDER.iterdir()), sorted(program.name for program in PROGRAMS))

    def test_every_option_of_the_help_is_offered_and_no_other(self):
        for program in PROGRAMS:
            with self.subTest(program.name):
                options = set(OPTION.findall(said_by(program, "--help")))
                self.assertLessEqual({"--help", "--version"}, options)
                self.assertEqual(offered(program, ""), options)

    def test_a_beginning_is_completed(self):
        for program in PROGRAMS:
            self.assertEqual(offered(program, "--he"), {"--help"})
            self.assertEqual(offered(program, "--nothing"), set())
        self.assertEqual(offered(program_named("vantrel-feed"), "--json", "--o"), {"--once"})

    def test_the_order_of_the_table_is_one_that_the_program_takes(self):
        feed = program_named("vantrel-feed")
        listed = re.search(r"--sort takes one of ([a-z, ]+), not", said_by(feed, "--sort", "nothing"))
        keys = set(listed[1].split(", "))
        self.assertEqual(offered(feed, "--sort", ""), keys)
        self.assertEqual(offered(feed, "--sort", "="), keys)
        self.assertEqual(offered(feed, "--sort", "=", "ch"), {"channel"})
        self.assertEqual(offered(feed, "--sort", "ss"), {"ssid"})

    def test_nothing_is_offered_for_a_value_that_nobody_knows(self):
        for option in ("--port", "--name", "--count"):
            self.assertEqual(offered(program_named("vantrel-feed"), option, ""), set())


if __name__ == "__main__":
    arguments = [Path(word) for word in sys.argv[1:5]]
    FOLDER, PROGRAMS = arguments[0], arguments[1:]
    del sys.argv[1:5]
    unittest.main(verbosity=2)
