"""The product in the machine: its captures without a window, driven by lines, and the files that they leave."""
import json
import struct
from pathlib import Path

from system import Dialogue, check, wait_for

HOME = Path("/tmp/product")  # one for all runs, as a user has one: what a killed run has noted, the next one finds
PLACES = {"HOME": "home", "TMPDIR": "tmp", "XDG_CONFIG_HOME": "config", "XDG_CACHE_HOME": "cache",
          "XDG_STATE_HOME": "state", "XDG_RUNTIME_DIR": "run"}
CAPTURES = HOME / "captures"
RECORD = HOME / "state/vantrel/radio.json"  # what must be put back on the adapter
DRIVER = "lab_driver"
HELPER = "vantrel-radio"
FILE_POLL = 0.2  # a growing file tells nobody


class Driver(Dialogue):
    """build/bin/lab_driver, ready for commands."""

    def __init__(self, lab, name="driver", prefix=(), **settings):
        make_places()
        settings = {"CaptureFilesLocation": str(CAPTURES), "FirstTimeCapture": False, "ShowDisconnectAlert": False,
                    "DwellTime": 100, **settings}
        (HOME / "config/vantrel/settings.json").write_text(json.dumps(settings))
        super().__init__(name, *prefix, str(lab.build / "bin" / DRIVER), env=environment(), cwd=HOME)
        self._known = set(files())
        self.hear(lambda line: line.startswith("ready "), "that it is ready")

    def start(self, command):
        """Begins a capture."""
        self._known = set(files())
        self.tell(command)
        line = self.hear(lambda line: line == "capturing" or line.startswith(("alert ", "refused")), "capturing")
        check(line == "capturing", f"{command!r} did not begin a capture: {line}")

    def finish(self, timeout=30.0):
        """Waits until the capture has ended; its frames. `Stop` is told before, where nothing else ends it."""
        line = self.hear(lambda line: line.startswith("idle "), "idle", timeout)
        return int(line.split()[1])

    def stop_capture(self):
        self.tell("stop")
        return self.finish()

    def state(self, wanted=lambda state: True, what="its state", timeout=20.0):
        """The adapter as the product sees it, as soon as it is as wanted."""
        self.tell("state")
        line = self.hear(lambda line: line.startswith("state ") and wanted(State(line)), what, timeout)
        return State(line)

    def files(self):
        """Of the captures since the last start()."""
        return [path for path in files() if path not in self._known]

    def wait_for_beacons(self, wanted, count=1, timeout=30.0):
        """Waits until the running capture's file holds so many beacons of each of these access points."""
        def enough():
            found = beacons(self.files())
            return all(sum(found.get(point.bssid, {}).values()) >= count for point in wanted)
        wait_for(enough, lambda: f"{count} beacons of {[point.ssid for point in wanted]}, having "
                                 f"{beacons(self.files())}", timeout, FILE_POLL)

    def quit(self):
        if self.runs():
            self.end_of_input()
        self.process.wait(20.0)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.runs():
            self.end_of_input()
            try:
                self.process.wait(10.0)
            except Exception:  # a scenario that failed already must not hang here
                self.kill()


class State:
    """A line "state INTERFACE MODE CHANNEL WIDTH POWER SSID" of the driver."""

    def __init__(self, line):
        _, name, mode, channel, width, power, *ssid = line.split(" ", 6)
        self.name = "" if name == "-" else name
        self.mode, self.channel, self.width = int(mode), int(channel), int(width)
        self.on = power == "on"
        self.ssid = ssid[0] if ssid else ""


def environment():
    """What the product's programs find."""
    return {"PATH": "/usr/bin:/bin:/usr/sbin:/sbin", "LC_ALL": "C.UTF-8", "QT_LOGGING_RULES": "vantrel.*=true",
            **{name: str(HOME / place) for name, place in PLACES.items()}}


def make_places():
    for place in (*PLACES.values(), "config/vantrel", "captures"):
        (HOME / place).mkdir(parents=True, exist_ok=True, mode=0o700)


def files():
    return sorted([*CAPTURES.rglob("*.pcap"), *(HOME / "tmp").rglob("*.pcap")])


def beacons(paths):
    """{BSSID: {MHz: how many}} of the beacons in capture files, whose last record may still be on its way."""
    found = {}
    for path in paths:
        for frame, frequency in _frames(path.read_bytes()):
            if frame[:1] == b"\x80" and len(frame) >= 24:
                bssid = frame[16:22].hex(":")
                found.setdefault(bssid, {}).setdefault(frequency, 0)
                found[bssid][frequency] += 1
    return found


def frequencies(paths):
    """All frequencies in MHz on which a frame was heard. What the station itself sent was not heard, and has none."""
    return {frequency for path in paths for _, frequency in _frames(path.read_bytes())} - {0}


def whole(path):
    """How many frames a finished file holds; fails when its last record is torn."""
    content, at, count = path.read_bytes(), 24, 0
    check(content[:4] == b"\xd4\xc3\xb2\xa1", f"{path} does not begin as a capture file does")
    while at < len(content):
        check(at + 16 <= len(content), f"{path} ends inside a record's header")
        at += 16 + struct.unpack_from("<I", content, at + 8)[0]
        count += 1
    check(at == len(content), f"{path} ends inside a record")
    return count


def _frames(content):
    """Each whole 802.11 frame, and its frequency by the radiotap header (radiotap.org; 0 when it has none)."""
    at = 24
    while at + 16 <= len(content):
        length = struct.unpack_from("<I", content, at + 8)[0]
        record = content[at + 16:at + 16 + length]
        at += 16 + length
        if len(record) < length or length < 8:
            return
        header, present = struct.unpack_from("<HI", record, 2)
        place, more = 8, present
        while more & 1 << 31:
            more = struct.unpack_from("<I", record, place)[0]
            place += 4
        for bit, size in ((0, 8), (1, 1), (2, 1)):
            if present & 1 << bit:
                place = (place + size - 1) // size * size + size
        place = (place + 1) // 2 * 2
        frequency = struct.unpack_from("<H", record, place)[0] if present & 1 << 3 else 0
        yield record[header:], frequency
