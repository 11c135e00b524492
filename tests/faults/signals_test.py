"""Killed, crashed and told to end, at a random moment of each step of a capture."""
import base64
import contextlib
import json
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import faults
from application import CAPTURE, POLL_MS
from bus import wait_for
from delivery_test import REPLY, SERVER
from faults import FILE_HEADER, REPETITIONS, FaultTest, index_of, tap_of, whole_records
from harness import PANEL

LOAD = 2000  # frames a second, so that something is under way at any moment
FRAMES = 40  # in each file of a capture that rotates
NUMBERED = {"LimitCaptureFile": 1, "LimitCaptureFileUnits": 4, "LimitCaptureFileValue": FRAMES, "MaxCaptureFiles": 3,
            "RotateCaptureFiles": 1}
ANSWERS_AFTER = 0.15
FEW = 2


class Steps(FaultTest):
    """Captures are delivered to a file system of its own, so that delivering means copying. Each program is the next
    start after the one before it."""

    def setUp(self):
        super().setUp()
        self.left = []      # what the last program left in the folder of unfinished captures
        self.left_over = self.torn = 0
        if faults.MAY_MOUNT:
            self.small_file_system(self.saved_captures, "64m")

    def rounds(self, number, reach, seconds, **settings):
        """The signal falls within so many seconds after what reach() waits for."""
        turns = REPETITIONS or FEW
        for turn in range(turns):
            with self.subTest(turn=turn):
                self.store(**settings, **self.service())
                program, item = self.next_start()
                item.click(CAPTURE)
                reach(program)
                self.blow(number, program, seconds)
        program, item = self.next_start()
        self.store()
        self.assert_works_again(program, item)
        self.quit(program, item)
        print(f"{turns} times, {self.left_over} captures left over, {self.torn} with a torn last record ... ",
              end="", file=sys.stderr, flush=True)

    def service(self):
        """Further settings for a turn."""
        return {}

    def next_start(self):
        """Starts after the program before: that one's captures are offered, and nothing else is left of it."""
        self.dunstctl("close-all")
        self.shown_before = {shown["id"]["data"] for shown in self.history()}
        program, item = self.start_idle(VANTREL_RADIO_TRANSPORT="", VANTREL_RADIO_LOAD=str(LOAD))
        self.assert_offered(self.left)
        wait_for(lambda: self.unfinished() == {path.name for path in self.left}, "what holds no frame to be removed",
                 poll_ms=POLL_MS)
        self.left_over += len(self.left)
        shutil.rmtree(self.captures, ignore_errors=True)
        for path in self.saved_captures.glob("*"):
            shutil.rmtree(path) if path.is_dir() else path.unlink()
        self.left = []
        return program, item

    def unfinished(self):
        return {path.name for path in self.captures.glob("*")} - {faults.OFFERED}

    def blow(self, number, program, seconds):
        before = self.on_disk()
        tap = tap_of(program)
        time.sleep(self.random.uniform(0, seconds))  # the moment itself is what is tried
        program.send_signal(number)
        status = program.wait(15)
        self.ended = time.monotonic()
        self.left = [path for path in self.captures.glob("*.pcap") if path.stat().st_size > FILE_HEADER]
        self.assertEqual(status, 0 if number == signal.SIGTERM else -number, self.log())
        if tap:
            self.assertNotEqual(index_of(tap[0]), tap[1], "the device of the simulated radio is still there")
        self.assert_kept(before, ended_in_order=number == signal.SIGTERM)

    def on_disk(self):
        """The whole frames of each capture by its name."""
        counted = {}
        for path in self.files():
            with contextlib.suppress(FileNotFoundError):  # it was delivered meanwhile
                counted[path.name] = whole_records(path, torn_permitted=True)
        return counted

    def assert_kept(self, before, ended_in_order):
        """Every capture can be read and what was on the disk is still there; only what a killed program was just
        writing may end in a torn record."""
        for path in self.files():
            may_be_torn = not ended_in_order and path.parent == self.captures
            whole_records(path, torn_permitted=may_be_torn)
            self.torn += may_be_torn and is_torn(path)
        gathered = [path for path in self.files() if path.parent.parent == self.saved_captures]
        if gathered:
            self.assert_gathered(gathered, ended_in_order)
        else:
            self.assert_no_fewer(before)
        strangers = [path for path in self.saved_captures.rglob("*") if path.is_file() and path.suffix != ".pcap"]
        self.assertEqual(strangers, [])
        if ended_in_order:
            self.assert_ended_in_order()

    def assert_gathered(self, paths, ended_in_order):
        """The newest full files; when one is just moving up, its number is free for a moment."""
        numbers = {int(path.name.split(".")[-2]): whole_records(path) for path in paths}
        last = numbers.pop(1, FRAMES) if ended_in_order else FRAMES  # the end fills no file
        self.assertTrue(0 < last <= FRAMES and set(numbers.values()) <= {FRAMES} and set(numbers) <= {1, 2, 3}, numbers)

    def assert_no_fewer(self, before):
        after = self.on_disk()
        for name, frames in before.items():
            kept = after[name] if name in after else self.received(name)
            self.assertGreaterEqual(kept, frames, f"{name} lost frames")

    def received(self, _name):
        """How many frames of a capture have left this computer."""
        return 0

    def assert_ended_in_order(self):
        self.assertEqual(self.left, [])

    # The steps

    def opening(self, _program):
        """At once after the command."""

    def capturing(self, _program):
        self.fresh_capture()

    def rotating(self, _program):
        wait_for(lambda: list(self.saved_captures.rglob("*.pcap")), "a full file", poll_ms=5)

    def stopping(self, program):
        """The capture has frames on the disk and Stop is pressed; the last frames are awaited before it is saved."""
        path = self.fresh_capture()
        wait_for(lambda: whole_records(path, torn_permitted=True) > 0, "frames on the disk", poll_ms=POLL_MS)
        self.desktop.windows.press_in(self.desktop.window(program, PANEL), "Stop")


class Signals(Steps):
    """A row a signal and step; they are added below."""


class Uploads(Steps):
    """The same, with captures that go to a service."""

    def setUp(self):
        super().setUp()
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.peers = []

    def service(self):
        """A peer for each turn, which takes a whole upload and answers a little later."""
        told = self.folder / str(len(self.peers))
        script = json.dumps([["request", {"pause": ANSWERS_AFTER}, {"send": REPLY}]])
        with open(told, "w") as output:
            peer = subprocess.Popen([sys.executable, SERVER, script], stdin=subprocess.PIPE, stdout=output)
        self.addCleanup(peer.wait, 20)
        self.addCleanup(peer.stdin.close)
        self.peers.append(told)
        port = wait_for(lambda: told.read_text().partition("\n")[0], "the peer's port", poll_ms=POLL_MS)
        return {"CaptureFilesLocation": "CloudShark", "CloudSharkApplianceAPIToken": "token",
                "CloudSharkApplianceURL": f"http://127.0.0.1:{json.loads(port)['port']}"}

    def received(self, name):
        """Whoever has not answered has received nothing: until then the file must be here."""
        whole_lines = self.peers[-1].read_text().rpartition("\n")[0].splitlines()
        told = [json.loads(line) for line in whole_lines]
        if not any("answers" in event and event["at"] <= self.ended for event in told):
            return 0
        for request in (event["request"] for event in told if "request" in event):
            if f"filename={name};" in request["line"]:
                body = self.folder / "body.pcap"
                body.write_bytes(base64.b64decode(request["body"]))
                return whole_records(body)
        return 0

    def assert_ended_in_order(self):
        """What was not yet uploaded waits for the next start."""


def is_torn(path):
    try:
        whole_records(path)
    except AssertionError:
        return True
    return False


def row(number, reach, seconds, **settings):
    def test(self):
        self.rounds(number, getattr(self, reach), seconds, **settings)
    return test


for _number in (signal.SIGKILL, signal.SIGTERM, signal.SIGSEGV):
    _name = f"test_{_number.name.lower()}_while_"
    setattr(Signals, _name + "opening", row(_number, "opening", 0.2))
    setattr(Signals, _name + "capturing", row(_number, "capturing", 1.2))
    setattr(Signals, _name + "rotating", row(_number, "rotating", 0.4, **NUMBERED))
    setattr(Signals, _name + "saving", row(_number, "stopping", 0.3))
    setattr(Uploads, _name + "uploading", row(_number, "stopping", 4 * ANSWERS_AFTER))


if __name__ == "__main__":
    sys.exit(faults.main(sys.modules[__name__]))
