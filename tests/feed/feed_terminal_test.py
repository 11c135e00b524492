"""vantrel-feed at a terminal: the live table, and that the terminal is as it was, whatever ends the program.

    feed_terminal_test.py PATH_OF_VANTREL_FEED [unittest arguments]
"""
import codecs
import contextlib
import fcntl
import os
import re
import select
import shlex
import signal
import struct
import sys
import termios
import time
import unicodedata
import unittest

from feed_server import (ENDED, FAILED, LIMIT, NOT_SERVED, WRONG_USE, beacon, record, sending, serving)

FEED = ""
SWEEP = b"".join(record(frame) for frame in [beacon(1, b"one", signal=-80), beacon(2, b"two", signal=-40),
                                             beacon(3, "咖啡".encode(), signal=-65)])
TOKEN = re.compile(r"\x1b\[(\?)?([\d;]*)([A-Za-z])|\x1b(.)|(.)", re.DOTALL)


class Screen:
    """As much of a terminal as a table needs; anything else that it is sent is a failure."""

    def __init__(self, columns, rows, tolerated=-1):
        self.columns, self.rows = columns, rows
        self.tolerated = tolerated  # so many draws may be those of another size
        self.lines = [[" "] * columns for _ in range(rows)]
        self.main = ""  # what was written outside the alternate screen
        self.alternate, self.cursor, self.wraps, self.style = False, True, True, ""
        self.row = self.column = self.drawn = self.lines_begun = 0
        self.styles = {}  # (row, column): style

    def feed(self, text):
        for private, numbers, final, other, character in TOKEN.findall(text):
            assert not other, f"escape {other!r}"
            if final:
                self.control(private, numbers, final)
            elif self.alternate:
                self.put(character)
            else:
                self.main += character

    def control(self, private, numbers, final):
        if private:
            name = {"1049": "alternate", "25": "cursor", "7": "wraps"}[numbers]
            setattr(self, name, {"h": True, "l": False}[final])
        elif final == "m":
            self.style = "" if numbers in ("", "0") else self.style + numbers
        elif final == "H" and not numbers:
            self.row = self.column = 0
            self.lines_begun = 1
            self.drawn += 1
        elif final == "K" and not numbers:
            self.lines[self.row][self.column:] = [" "] * (self.columns - self.column)
        elif final == "J" and not numbers:
            self.control("", "", "K")
            for row in range(self.row + 1, self.rows):
                self.lines[row] = [" "] * self.columns
        else:
            raise AssertionError(f"control sequence {numbers!r} {final!r}")

    def put(self, character):
        if character == "\r":
            self.column = 0
        elif character == "\n":
            self.row = min(self.row + 1, self.rows - 1)
            self.check(self.row == self.lines_begun, "the screen was scrolled")
            self.lines_begun += 1
        else:
            assert character.isprintable(), f"character {character!r}"
            width = 2 if unicodedata.east_asian_width(character) == "W" else 1
            if not self.check(self.column + width <= self.columns, "a line was longer than the screen is wide"):
                return
            self.styles[self.row, self.column] = self.style
            self.lines[self.row][self.column:self.column + width] = [character] + [""] * (width - 1)
            self.column += width

    def check(self, holds, why):
        assert holds or self.drawn <= self.tolerated, why
        return holds

    def text(self):
        return [line for line in ("".join(cells).rstrip() for cells in self.lines) if line]

    def is_put_back(self):
        return (self.alternate, self.cursor, self.wraps, self.style) == (False, True, True, "")


class Session:
    """A command on a pseudo terminal of its own, as the leader of its session, in the foreground."""

    def __init__(self, command, columns=80, rows=24, environment=None):
        self.screen = Screen(columns, rows)
        self.raw, self.decoded, self.status = b"", "", None
        self.decoder = codecs.getincrementaldecoder("utf-8")()
        self.master, slave = os.openpty()
        self.set_size(columns, rows)
        self.before = self.modes()
        self.pid = os.fork()
        if self.pid == 0:
            os.close(self.master)
            os.login_tty(slave)
            os.execve(command[0], command, {"TERM": "xterm", "LC_ALL": "C.UTF-8", "PS1": "$ ", **(environment or {})})
        self.slave = slave  # kept open, so that the modes can be read when the command has ended

    def set_size(self, columns, rows):
        fcntl.ioctl(self.master, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))

    def resize(self, columns, rows):
        self.screen = Screen(columns, rows, tolerated=1)
        self.screen.alternate, self.screen.cursor, self.screen.wraps = True, False, False
        self.set_size(columns, rows)

    def modes(self):
        return termios.tcgetattr(self.master)

    def read_until(self, condition):
        """Reads what the program writes until the condition holds, or the terminal has been hung up."""
        limit = time.monotonic() + LIMIT
        while not condition():
            assert time.monotonic() < limit, f"it never came; the screen: {self.screen.text()} {self.screen.main!r}"
            if not select.select([self.master], [], [], 0.2)[0]:
                continue
            try:
                data = os.read(self.master, 65536)
            except OSError:
                return False
            self.raw += data
            self.decoded += self.decoder.decode(data)
            # A sequence that is not there as a whole waits for its rest.
            rest = re.search(r"(\x1b(\[[?\d;]*)?)?\Z", self.decoded).start()
            self.screen.feed(self.decoded[:rest])
            self.decoded = self.decoded[rest:]
        return True

    def wait(self):
        """Reads to the end of the program, and answers its exit status, negative for a signal."""
        def has_ended():
            pid, status = os.waitpid(self.pid, os.WNOHANG)
            if pid:
                self.status = os.waitstatus_to_exitcode(status)
            return pid != 0
        if not self.read_until(has_ended) and self.status is None:
            self.status = os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])
        with contextlib.suppress(OSError):
            while select.select([self.master], [], [], 0)[0]:
                data = os.read(self.master, 65536)
                self.raw += data
                self.screen.feed(self.decoder.decode(data))
        return self.status

    def close(self):
        if self.status is None:
            with contextlib.suppress(ProcessLookupError):
                os.kill(self.pid, signal.SIGKILL)
            os.waitpid(self.pid, 0)
        os.close(self.master)
        os.close(self.slave)


def session(server, *arguments, **settings):
    return contextlib.closing(Session([FEED, "--port", str(server.port), *arguments], **settings))


class Live(unittest.TestCase):
    def networks(self, running, count):
        self.assertTrue(running.read_until(lambda: len(running.screen.text()) >= count + 2 and
                                           running.screen.text()[0].find("sweep") > 0))

    def check_put_back(self, running):
        self.assertTrue(running.screen.is_put_back())
        self.assertEqual(running.modes(), running.before)

    def test_the_table_lives_on_a_screen_of_its_own(self):
        with serving(sending(SWEEP)) as server, session(server) as running:
            running.read_until(lambda: any("1 sweep " in line for line in running.screen.text()))
            status, header, *networks = running.screen.text()
            self.assertEqual(status, f"port {server.port}   1 sweep   3 networks")
            self.assertEqual(header, "BSSID              SSID          CH  WIDTH  SIGNAL  NOISE  SECURITY         SEEN")
            self.assertEqual([line[19:31].strip() for line in networks], ["two", "咖啡", "one"])
            self.assertTrue(running.screen.alternate)
            self.assertFalse(running.screen.cursor)
            self.assertEqual(running.modes()[3] & (termios.ECHO | termios.ICANON), 0)
            self.assertEqual(running.screen.main, "")

    def test_colours_tell_the_strength(self):
        for environment, colours in (({}, ["32", "33", "31"]), ({"NO_COLOR": "1"}, ["", "", ""]),
                                     ({"NO_COLOR": ""}, ["32", "33", "31"])):
            with self.subTest(environment=environment), serving(sending(SWEEP)) as server:
                with session(server, environment=environment) as running:
                    self.networks(running, 3)
                    last = running.screen.lines[2].index("-", 30) + 2
                    self.assertEqual([running.screen.styles[row, last] for row in (2, 3, 4)], colours)

    def test_the_table_follows_the_size(self):
        with serving(sending(SWEEP)) as server, session(server) as running:
            self.networks(running, 3)
            running.resize(40, 4)
            running.read_until(lambda: len(running.screen.text()) == 4)
            self.assertEqual(running.screen.text()[3], "and 2 more")
            running.resize(132, 24)
            running.read_until(lambda: len(running.screen.text()) == 5)
            self.assertIn("NOISE", running.screen.text()[1])
            for columns, rows in ((1, 1), (7, 2), (200, 60)):
                running.resize(columns, rows)
                running.read_until(lambda: running.screen.drawn > 3)

    def test_the_table_follows_the_size_at_once(self):
        with serving(sending(SWEEP)) as server, session(server) as running:
            self.networks(running, 3)
            start = time.monotonic()
            for columns in range(40, 60):
                running.resize(columns, 24)
                running.read_until(lambda: len(running.screen.text()) == 5)
            self.assertLess(time.monotonic() - start, 10)  # the ages alone would draw one a second

    def test_the_age_grows_without_news(self):
        with serving(sending(SWEEP)) as server, session(server) as running:
            running.read_until(lambda: running.screen.text()[-1:] and running.screen.text()[-1].endswith(" 2s"))

    def test_what_ends_it_puts_the_terminal_back(self):
        ways = {"SIGINT": signal.SIGINT, "SIGTERM": signal.SIGTERM, "SIGHUP": signal.SIGHUP, "SIGQUIT": signal.SIGQUIT,
                "the key q": b"q", "Ctrl+C": b"\x03", "Ctrl+\\": b"\x1c"}
        for name, way in ways.items():
            with self.subTest(name), serving(sending(SWEEP)) as server, session(server) as running:
                self.networks(running, 3)
                if isinstance(way, bytes):
                    os.write(running.master, way)
                else:
                    os.kill(running.pid, way)
                self.assertEqual(running.wait(), ENDED)
                self.check_put_back(running)
                self.assertIn("02:00:00:00:00:02  two ", running.screen.main)

    def test_errors_put_the_terminal_back(self):
        for name, last in (("the service ends", b""), ("hostile", b"\xff" * 4), ("half a record", b"\0\0\1\0x")):
            with self.subTest(name), serving(sending(SWEEP, last, stay=False)) as server, session(server) as running:
                self.assertEqual(running.wait(), FAILED)
                self.check_put_back(running)
                self.assertIn("02:00:00:00:00:02  two ", running.screen.main)
                self.assertRegex(running.screen.main, "vantrel-feed: (the service|what listens)")

    def test_a_refusal_is_told_on_the_users_own_screen(self):
        with serving(sending(stay=False)) as server, session(server) as running:
            self.assertEqual(running.wait(), NOT_SERVED)
            self.assertTrue(running.screen.is_put_back())
            self.assertTrue(running.screen.main.startswith("vantrel-feed: the service closed the connection"))

    def test_after_the_sweeps_asked_for_the_table_stays(self):
        with serving(sending(SWEEP)) as server, session(server, "--once") as running:
            self.assertEqual(running.wait(), ENDED)
            self.check_put_back(running)
            self.assertEqual(len(running.screen.main.splitlines()), 5)

    def test_a_terminal_that_hangs_up_ends_it(self):
        with serving(sending(SWEEP)) as server:
            running = Session([FEED, "--port", str(server.port)])
            self.networks(running, 3)
            os.close(running.master)
            os.close(running.slave)
            self.assertTrue(server.client_gone.wait(LIMIT))
            self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(running.pid, 0)[1]), ENDED)

    def test_stopped_and_continued(self):
        with serving(sending(SWEEP)) as server:
            # A job of a shell, as others cannot be stopped.
            with contextlib.closing(Session(["/bin/bash", "--norc", "--noediting", "-i"])) as running:
                os.write(running.master, f"{shlex.quote(FEED)} --port {server.port}\n".encode())
                self.networks(running, 3)
                os.write(running.master, b"\x1a")
                running.read_until(lambda: "Stopped" in running.screen.main)
                self.assertTrue(running.screen.is_put_back())
                os.write(running.master, b"fg\n")
                running.read_until(lambda: running.screen.alternate and len(running.screen.text()) >= 5)
                os.write(running.master, b"q")
                running.read_until(lambda: not running.screen.alternate)
                os.write(running.master, b"echo status=$?; exit\n")
                running.wait()
                self.assertIn("status=0", running.screen.main)

    def test_a_stopped_terminal_does_not_hold_up_the_end(self):
        def serve(client):
            number = 0
            client.settimeout(LIMIT)
            while True:
                number += 1
                client.sendall(record(beacon(number)))
        with serving(serve) as server, session(server, rows=200, columns=200) as running:
            self.networks(running, 100)
            os.write(running.master, b"\x13")  # Ctrl+S
            time.sleep(1)  # so that it is writing
            os.kill(running.pid, signal.SIGTERM)
            limit = time.monotonic() + 10
            while not (ended := os.waitpid(running.pid, os.WNOHANG))[0]:
                self.assertLess(time.monotonic(), limit)
                time.sleep(0.05)
            running.status = os.waitstatus_to_exitcode(ended[1])
            self.assertEqual(running.status, ENDED)
            self.assertTrue(running.modes()[3] & termios.ECHO)

    def test_names_from_the_air_cannot_drive_the_terminal(self):
        name = b"\x1b]0;title\x07\x1b[2J\xc2\x9b5m\xe2\x80\xae\x08"
        with serving(sending(record(beacon(1, name)))) as server, session(server, columns=200) as running:
            self.networks(running, 1)  # the screen knows nothing but what a table needs
            self.assertIn("\\x1b]0;title\\x07\\x1b[2J", running.screen.text()[2])

    def test_a_terminal_that_can_only_print(self):
        with serving(sending(SWEEP)) as server, session(server, "--once", environment={"TERM": "dumb"}) as running:
            self.assertEqual(running.wait(), ENDED)
            self.assertNotIn(b"\x1b", running.raw)
            self.assertEqual(len(running.screen.main.splitlines()), 4)

    def test_pcap_is_not_for_a_terminal(self):
        with serving(sending(SWEEP)) as server, session(server, "--pcap") as running:
            self.assertEqual(running.wait(), WRONG_USE)
            self.assertTrue(running.screen.main.startswith("vantrel-feed: --pcap writes bytes that are not for a "))


if __name__ == "__main__":
    FEED = os.path.abspath(sys.argv.pop(1))
    unittest.main()
