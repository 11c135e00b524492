"""Scenarios: what a machine tries, each with a time limit, and how each of them ended."""
import contextlib
import json
import shutil
import signal
import time
import traceback
from dataclasses import dataclass
from pathlib import Path

from system import LOGS, Failed, attempt

# Characters of the beginning and of the end of each log that a failed scenario shows.
HEAD, TAIL = 1500, 4500


@dataclass(frozen=True)
class Scenario:
    name: str
    limit: float  # seconds
    run: object   # called with the machine's surroundings
    machines: tuple = ("supplicant", "manager")


def scenario(name, limit, machines=Scenario.machines):
    """Marks a function as a scenario of these machines; gather() finds it."""
    def mark(function):
        function.scenario = Scenario(name, limit, function, machines)
        return function
    return mark


def gather(module):
    """The scenarios of a module, in the order in which they are written."""
    return [value.scenario for value in vars(module).values() if hasattr(value, "scenario")]


class Results:
    """One JSON line for each scenario in the shared folder, written as soon as it is known."""

    def __init__(self, share):
        self._share = share
        self._lines = open(share / "results.jsonl", "a", buffering=1)
        self.notes = []
        self.captures = []

    def note(self, text):
        """Something measured, which stands in the results whether the scenario passes or not."""
        print(f"lab:     {text}", flush=True)
        self.notes.append(text)

    def keep(self, path, beacons):
        """A capture file that is checked again outside: the frequencies in MHz on which each BSSID's beacons must
        have been heard, and no others; nothing said of others' beacons."""
        kept = self._share / "captures" / f"{len(list(self._share.glob('captures/*')))}-{Path(path).name}"
        kept.parent.mkdir(exist_ok=True)
        shutil.copyfile(path, kept)
        self.captures.append({"file": kept.name, "beacons": beacons})

    def carry_out(self, wanted, surroundings):
        """Whether it passed."""
        self.notes, self.captures = [], []
        sizes = {path: path.stat().st_size for path in LOGS.glob("*.log")}
        print(f"lab: {wanted.name}", flush=True)
        start = time.monotonic()
        why = _reason(wanted, surroundings)
        seconds = time.monotonic() - start
        print(f"lab: {wanted.name}: {'passed' if not why else f'failed: {why}'} ({seconds:.1f} s)", flush=True)
        logs = {path.stem: _since(path, sizes.get(path, 0)) for path in sorted(LOGS.glob("*.log"))} if why else {}
        if why:
            logs["kernel"] = attempt("dmesg").stdout[-TAIL:]
            logs["iw dev"] = attempt("iw", "dev").stdout
        json.dump({"name": wanted.name, "seconds": seconds, "why": why, "notes": self.notes, "captures": self.captures,
                   "logs": logs}, self._lines)
        self._lines.write("\n")
        return not why


def _since(path, start):
    with open(path, errors="replace") as log:
        log.seek(start)
        text = log.read()
    return text if len(text) <= HEAD + TAIL else f"{text[:HEAD]}\n[...]\n{text[-TAIL:]}"


def _reason(wanted, surroundings):
    """Why it failed; empty when it passed."""
    try:
        with _limit(wanted.limit):
            wanted.run(surroundings)
        return ""
    except Failed as failure:
        line = next((frame.lineno for frame in reversed(traceback.extract_tb(failure.__traceback__))
                     if frame.name == wanted.run.__name__), 0)
        return f"{failure} (line {line})"
    except Exception:  # a fault of the scenario itself
        return traceback.format_exc().strip()


@contextlib.contextmanager
def _limit(seconds):
    def over(*_):
        raise Failed(f"it took more than {seconds:g} s")
    before = signal.signal(signal.SIGALRM, over)
    signal.setitimer(signal.ITIMER_REAL, seconds)
    try:
        yield
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, before)
