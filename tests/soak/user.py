"""What a user does: captures from the tray's menu, the preferences in their window, uploads of finished files
while a capture runs."""
import itertools
import json
import time

from bus import TimedOut, wait_for
from gi.repository import GLib

CAPTURE, CAPTURE_2, CAPTURE_ALL = ("Capture on Current Channel", "Capture All 2.4 GHz Channels",
                                   "Capture All Channels")
REJOINED = "Disconnect from Vantrel Lab"
PREFERENCES = "Vantrel Preferences"
ABOUT = "About Vantrel"
CHECK_BOX, TEXT = ("check box",), ("text",)
SLICING = "Keep only the headers of data frames"
POLL_MS = 50     # for files and windows, which tell nobody
PACE = 1.0       # seconds between two things that a user does
AT_ONCE = 30.0   # seconds that no end of a capture takes
FAILURES = (TimedOut, LookupError, RuntimeError, AssertionError, GLib.Error, OSError)


class User:
    def __init__(self, desktop, program, item, watch, peer):
        self._desktop, self._program, self._item, self._watch, self._peer = desktop, program, item, watch, peer
        self._windows = desktop.windows
        deeds = (self._whole_menu, self._slicing, self._channel_shown, self._dwell, self._about, self._limit,
                 self._upload)
        self.kinds = len(deeds)
        self._deeds = itertools.cycle(deeds)
        self._values = {"dwell": itertools.cycle((100, 150, 250)), "limit": itertools.cycle((4, 3))}
        self.done = 0
        self.failed = []
        self.uploads = 0
        self.uploads_altered = 0

    def capture(self, command, seconds, deeds=0):
        """One capture from its command to its last file, for so long and for at least so many deeds; what stands in the
        files."""
        self._item.wait_for_entry(command, timeout=AT_ONCE)
        self._watch.begin_capture(command != CAPTURE)
        self._item.click(command)
        self._item.wait_for_entry("Quit", enabled=False)
        end = time.monotonic() + seconds
        while (left := end - time.monotonic()) > 0 or deeds > 0:
            time.sleep(PACE if deeds > 0 else min(PACE, left))
            if deeds > 0 or left > PACE:
                self._try(next(self._deeds))
                deeds -= 1
        self._desktop.press_in_panel(self._program, "Stop", AT_ONCE)
        self._item.wait_for_entry("Quit", timeout=AT_ONCE)
        written = self._desktop.temporary
        wait_for(lambda: not list(written.rglob("*.pcap")), "the last file to be delivered", AT_ONCE, POLL_MS)
        return self._watch.end_capture()

    def rest(self):
        """Waits until the adapter is back in its network."""
        self._item.wait_for_entry(REJOINED, timeout=AT_ONCE)

    def _try(self, deed):
        try:
            deed()
            self.done += 1
        except FAILURES as reason:
            self.failed.append(f"{deed.__name__.strip('_')}: {reason}")

    # What the user does

    def _whole_menu(self):
        self._item.entries()

    def _about(self):
        self._item.click(ABOUT)
        self._desktop.window(self._program, ABOUT)
        self._close(ABOUT)

    def _slicing(self):
        window = self._open("Advanced")
        for value in (0, 1):
            self._press(window, SLICING)
            self._wait_for_stored("EnableAdaptivePacketSlicing", value)
        self._close(PREFERENCES)

    def _dwell(self):
        self._enter("Advanced", "Time on each channel", "DwellTime", next(self._values["dwell"]))

    def _limit(self):
        self._enter("General", "Limit of a capture file", "LimitCaptureFileValue", next(self._values["limit"]))

    def _channel_shown(self):
        window = self._open("General")
        for value in (0, 1):
            self._press(window, "Show the channel")
            self._wait_for_stored("DisplayChannel", value)
        self._close(PREFERENCES)

    def _upload(self):
        path = self._desktop.folder / f"home/upload-{self.uploads}.pcap"
        wait_for(lambda: self._watch.copy_of_newest(path), "a finished file", poll_ms=POLL_MS)
        self._item.click("Upload Capture", "To CloudShark…")
        self._desktop.window(self._program, "Upload")
        self._activate("Upload")
        self._desktop.type_at_window(self._program, "ctrl+a")
        self._desktop.xdotool("type", "--delay", "5", str(path))
        self._desktop.xdotool("key", "Return")
        self._desktop.wait_for_no_window(self._program, "Upload")
        if not self._peer.has_received(path):
            self.uploads_altered += 1
        self.uploads += 1
        path.unlink()

    # How

    def _open(self, pane):
        self._item.click("Preferences…")
        window = self._desktop.window(self._program, PREFERENCES)
        tab = self._windows.control(window, CHECK_BOX, pane)
        self._windows.act(tab)
        self._wait_for_stored("MASPreferences Selected Identifier View", pane)
        return window

    def _press(self, window, name):
        self._windows.act(self._shown(window, CHECK_BOX, name))

    def _enter(self, pane, name, key, value):
        window = self._open(pane)
        self._windows.set_text(self._shown(window, TEXT, name), str(value))
        self._wait_for_stored(key, value)
        self._close(PREFERENCES)

    def _shown(self, window, roles, name):
        def look():
            return next((node for node in self._windows.contents(window) if node.role in roles and node.name == name),
                        None)
        return wait_for(look, f"the {roles[0]} {name!r}", poll_ms=POLL_MS)

    def _activate(self, title):
        self._desktop.xdotool("search", "--onlyvisible", "--name", f"^{title}", "windowactivate", "--sync")

    def _close(self, title):
        self._activate(title)
        self._desktop.xdotool("key", "Escape")
        self._desktop.wait_for_no_window(self._program, title)

    def _wait_for_stored(self, key, value):
        path = self._desktop.folder / "config/vantrel/settings.json"
        wait_for(lambda: json.loads(path.read_text()).get(key) == value, f"{key} to be {value} in the settings",
                 poll_ms=POLL_MS)
