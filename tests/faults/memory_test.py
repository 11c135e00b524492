"""No memory for one allocation of the start-up: the program says so and ends, or goes on; it never hangs."""
import signal
import sys

from gi.repository import GLib

import faults
from application import POLL_MS
from bus import wait_for
from faults import REPETITIONS, FaultTest, whole_records

FEW = 4
TOLD = "fault: no memory for "
THROWING = ("/libstdc++.so", "/vantrel")  # the C++ library, whose new all of ours uses, and ours
START_SECONDS = 20


class Memory(FaultTest):
    def allocations(self, size, most):
        """One start for each of several allocations of at least this size, by their number, drawn by lot."""
        numbers = sorted(self.random.sample(range(1, most + 1), min(most, REPETITIONS or FEW)))
        for number in numbers:
            with self.subTest(number=number):
                self.one_start(size, number)

    def one_start(self, size, number):
        self.log_name = f"{self.id().rpartition('.')[2]}-{number}"
        program = self.start(**self.shim("memory_fault", SIZE=size, NUMBER=number))
        try:
            item = wait_for(lambda: program.poll() is not None or self.look(program), "the end or the tray item",
                            START_SECONDS, POLL_MS)
            self.assertIn(TOLD, self.log(), "the start has not so many allocations")
            if program.poll() is None:
                self.goes_on(program, item)
            else:
                self.assert_says_why(program)
            self.assert_nothing_but()
        finally:
            self.end(program)

    def look(self, program):
        try:
            return self.desktop.find_item(program)
        except GLib.Error:  # it ended while it was asked
            return None

    def goes_on(self, program, item):
        """As ever, but for what it had no memory for: a half-made program that stays is worse than none."""
        self.assertEqual(item.tool_tip.partition(":")[0], "Vantrel")
        path = self.capture(item)
        program.send_signal(signal.SIGTERM)
        self.ends_in_order(program)
        self.assertGreater(whole_records(self.saved(path)), 0)

    def assert_says_why(self, program):
        """By a message, or by the signal that the system tells of when it was a library that did not look."""
        self.assertNotEqual(program.returncode, 0, "nobody is told that the start has failed")
        asked, said = self.log().partition(TOLD)[2].split("\n", 1)
        if program.returncode == -signal.SIGSEGV:
            # Where new finds no memory it throws, and what is thrown is nobody's to overlook.
            self.assertFalse(any(ours in asked for ours in THROWING), f"it crashed without memory for {asked}")
        else:
            self.assertNotEqual(said.strip(), "", f"it ended with status {program.returncode} and no word")

    def test_one_of_64_kib_and_more(self):
        self.allocations(64 * 1024, 3)

    def test_one_of_4_kib_and_more(self):
        self.allocations(4096, 60)


if __name__ == "__main__":
    sys.exit(faults.main(sys.modules[__name__]))
