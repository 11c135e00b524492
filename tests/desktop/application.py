"""What the tests of the application on a real desktop share: the program with the simulated radio in a private desktop,
driven from its tray menu over D-Bus and from its windows over AT-SPI, and its capture files read by other programs."""
import json
import os
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

from bus import wait_for
from harness import Desktop, Unavailable

SKIPPED = 77
ENOUGH_BYTES = 8 * 1024  # some beacons of each network on the channel
POLL_MS = 50  # for files, which tell nobody that they grow
TITLE = {"DisplayChannel": 1, "DisplayChannelWidth": 1}  # settings with which the tool tip tells the channel
# The first-capture notice is over, and no application of this machine is opened.
QUIET = {"FirstTimeCapture": 0, "DoNothing": 1, "OpenInApplication": 0}
IDLE = "Vantrel: 36 (80 MHz) (simulated)"
CAPTURE = "Capture on Current Channel"
CAPTURE_ALL_2 = "Capture All 2.4 GHz Channels"
CAPTURE_ALL_5 = "Capture All 5 GHz Channels"
CAPTURE_ALL = "Capture All Channels"
DISCONNECT = "Disconnect from Vantrel Lab"


def field(path, name, display_filter):
    """This field of the frames that the filter selects, as tshark reads the file."""
    done = subprocess.run(["tshark", "-n", "-r", str(path), "-Y", display_filter, "-T", "fields", "-e", name],
                          capture_output=True, text=True, timeout=60, check=True)
    return done.stdout.split()


def packets(path):
    """How many frames the file holds; fails when its last record is torn."""
    done = subprocess.run(["capinfos", "-r", "-m", "-M", "-c", "-E", "-T", str(path)], capture_output=True, text=True,
                          timeout=60)
    if done.returncode != 0 or "cut short" in done.stderr:
        raise AssertionError(f"capinfos does not accept {path}: {done.stderr}")
    _name, encapsulation, count = done.stdout.strip().split(",")
    if encapsulation != "ieee-802-11-radiotap":
        raise AssertionError(f"{path} holds {encapsulation}")
    return int(count)


class AppTest(unittest.TestCase):
    program = None  # its path

    @classmethod
    def setUpClass(cls):
        desktop = Desktop()
        cls.desktop = desktop.__enter__()
        cls.addClassCleanup(desktop.__exit__)
        cls.captures = cls.desktop.temporary / f"vantrel-{os.getuid()}"
        cls.saved_captures = cls.desktop.folder / "home/Desktop"

    def setUp(self):
        self.log_name = self.id().rpartition(".")[2]
        shutil.rmtree(self.captures, ignore_errors=True)
        shutil.rmtree(self.saved_captures, ignore_errors=True)
        self.store()

    def store(self, **settings):
        """The settings that the program finds, on top of the quiet ones; the tool tip tells the channel."""
        folder = self.desktop.folder / "config/vantrel"
        folder.mkdir(mode=0o700, exist_ok=True)
        (folder / "settings.json").write_text(json.dumps(QUIET | TITLE | settings))

    def stored(self):
        return json.loads((self.desktop.folder / "config/vantrel/settings.json").read_text())

    def start(self, **environment):
        environment = {"VANTREL_RADIO": "simulated", "VANTREL_RADIO_TRANSPORT": "stream"} | environment
        program = self.desktop.start([self.program], log=self.log_name, **environment)
        self.addCleanup(self.end, program)
        return program

    def end(self, program):
        if program.poll() is None:
            program.kill()
            program.wait()

    def log(self):
        return self.desktop.log(self.log_name)

    def files(self):
        """All captures: those being written or left over, and then those delivered to the user's Desktop folder."""
        return sorted(self.captures.glob("*.pcap")) + sorted(self.saved_captures.rglob("*.pcap"))

    def saved(self, path):
        """Waits until the capture that was written there is delivered; its path."""
        there = self.saved_captures / path.name
        wait_for(there.exists, "the capture in its folder", poll_ms=POLL_MS)
        return there

    def start_idle(self, **environment):
        """A program that has come to rest in its network, and its tray item."""
        program = self.start(**environment)
        item = self.desktop.wait_for_item(program)
        item.wait_for_tool_tip(IDLE)
        item.wait_for_entry(DISCONNECT)
        return program, item

    def capture(self, item, *command):
        """Starts a capture and waits for frames in its file, which it returns."""
        command = command or (CAPTURE,)
        item.wait_for_entry(*command)
        known = set(self.files())
        item.click(*command)
        return self.wait_for_capture(item, known)

    def wait_for_capture(self, item, known=frozenset()):
        """Waits for frames in a capture file other than these, which it returns."""
        item.wait_for_entry("Quit", enabled=False)

        def grown():
            new = set(self.files()) - known
            return next((path for path in new if path.stat().st_size >= ENOUGH_BYTES), None)
        return wait_for(grown, "frames in the capture file", poll_ms=POLL_MS)

    def stop(self, program, item):
        self.desktop.press_in_panel(program, "Stop")
        item.wait_for_entry("Quit")

    def quit(self, program, item):
        item.wait_for_entry("Quit")
        item.click("Quit")
        self.ends_in_order(program)

    def ends_in_order(self, program):
        self.assertEqual(program.wait(15), 0, self.log())

    def enabled(self, item):
        return [entry.label for entry in item.entries() if entry.enabled and entry.visible and not entry.separator]

    def picture(self, name):
        """Of the screen, kept for a reader only when VANTREL_SCREENSHOTS names a folder."""
        folder = Path(os.environ.get("VANTREL_SCREENSHOTS", self.desktop.folder))
        return self.desktop.screenshot(folder / f"{name}.png").read_bytes()


def main(cases):
    """Runs these classes on the program that the command line names."""
    AppTest.program = str(Path(sys.argv.pop(1)).resolve())
    missing = [tool for tool in ("tshark", "capinfos") if shutil.which(tool) is None]
    if missing:
        print(f"skipped: not installed: {' and '.join(missing)} (packages tshark, wireshark-common)")
        return SKIPPED
    try:
        with Desktop(panel=False):
            pass
    except Unavailable as reason:
        print(f"skipped: no desktop here: {reason}")
        return SKIPPED
    unittest.main(module=cases, verbosity=2)
    return 0
