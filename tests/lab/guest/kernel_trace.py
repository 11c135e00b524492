"""When the kernel was told to tune a monitor, to what, and how long it took: its own trace of the calls."""
import contextlib
import re
from dataclasses import dataclass
from pathlib import Path

TRACING = Path("/sys/kernel/tracing")
EVENTS = ("rdev_set_monitor_channel", "rdev_return_int")
LINE = re.compile(r"^\s*.+-(?P<process>\d+)\s+\[\d+\]\s+\S+\s+(?P<time>[\d.]+): (?P<event>\w+): (?P<rest>.*)$",
                  re.MULTILINE)
CHANNEL = re.compile(r"control freq: (\d+)\.\d+, width: (\d+)")
WIDTHS = {0: 20, 1: 20, 2: 40, 3: 80, 5: 160}  # MHz by enum nl80211_chan_width


@dataclass(frozen=True)
class Tuning:
    start: float  # seconds of the monotonic clock
    end: float
    frequency: int  # MHz, of the control channel
    width: int      # MHz

    @property
    def channel(self):
        return (self.frequency - 2407) // 5 if self.frequency < 3000 else (self.frequency - 5000) // 5


@contextlib.contextmanager
def tunings():
    """A list that holds every tuning of the time inside, once it is over."""
    found = []
    (TRACING / "trace_clock").write_text("mono")
    (TRACING / "trace").write_text("")
    _enable(True)
    try:
        yield found
    finally:
        _enable(False)
        found += _parse((TRACING / "trace").read_text())


def _enable(on):
    for event in EVENTS:
        (TRACING / "events/cfg80211" / event / "enable").write_text("1" if on else "0")


def _parse(text):
    waiting = {}  # by process
    for match in LINE.finditer(text):
        process, time = match["process"], float(match["time"])
        if match["event"] == EVENTS[0]:
            frequency, width = map(int, CHANNEL.search(match["rest"]).groups())
            waiting[process] = (time, frequency, WIDTHS[width])
        elif process in waiting:
            start, frequency, width = waiting.pop(process)
            yield Tuning(start, time, frequency, width)
