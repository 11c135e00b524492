"""How long the application takes from its start to its item in the tray, and what memory it holds, beside two tray
programs of Debian, in a desktop of its own."""
import contextlib
import json
import os
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

from programs import Failed, commands, median, output_of, table

DESKTOP = Path(__file__).resolve().parents[1] / "tests/desktop"
PEERS = {"qlipper": "qlipper", "CopyQ": "copyq"}  # their packages have the names of the commands
LIMIT_MS = 300
QUIET_SECONDS = 1.0  # who has not worked for so long is at rest
REST_SECONDS = 20.0
STEP_SECONDS = 0.1
END_SECONDS = 5.0
CAPTURE_SECONDS = 3.0
CAPTURE = "Capture on Current Channel"
SIMULATED = {"VANTREL_RADIO": "simulated"}
HEAD = ["program", "ms", "ms, all runs", "of qlipper's", "limit", "RSS MiB", "PSS MiB", "PSS MiB, all runs"]
# The desktop of the tests has all programs talk to assistive ones, which few users' desktops do.
PLAIN = {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "", "NO_AT_BRIDGE": "1"}
REASON = """\
qlipper is about the least that a tray program can be, a menu over the clipboard; CopyQ is an application of its
own, with a database and scripts, that lives in the tray. Both draw with Qt, register as Vantrel does
(StatusNotifierItem), and need neither a network nor a daemon; Debian builds them with Qt 5. The simulated radio
plays its networks in Vantrel's own process, and makes a network device at the start; without it `vantrel-radio` is
started, which finds no adapter on the machine of the bench, and its memory counts. RSS counts pages that are shared
with other programs in full, PSS by the share, so PSS falls where other programs of Qt 6 run. A capture adds the
queue's operations, the file's buffer and the kernel's 8 MiB."""


def memory(pids):
    """MiB of all these processes: resident, and with what is shared counted by the share."""
    sums = {"Rss:": 0, "Pss:": 0}
    for pid in pids:
        for line in Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines():
            name, number, *_ = line.split()
            if name in sums:
                sums[name] += int(number) / 1024
    return sums["Rss:"], sums["Pss:"]


def work(pids):
    """What these processes have spent of the processor, in the kernel's ticks."""
    fields = [Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split() for pid in pids]
    return sum(int(user) + int(system) for *_, user, system in (line[:13] for line in fields))


def wait_for_rest(family):
    """Until the program has done nothing for a while; one that never rests is measured as it is."""
    end = time.monotonic() + REST_SECONDS
    last, since = work(family()), time.monotonic()
    while time.monotonic() < min(end, since + QUIET_SECONDS):
        time.sleep(STEP_SECONDS)
        now = work(family())
        if now != last:
            last, since = now, time.monotonic()


class Start:
    """A program that was started in the desktop, once its item has registered and it has come to rest."""

    def __init__(self, desktop, command, environment):
        import tray
        from bus import wait_for
        self._desktop = desktop
        with registrations(desktop, tray.WATCHER) as arrivals:
            start = time.monotonic()
            self.program = desktop.start([str(word) for word in command], **PLAIN | environment)
            wait_for(lambda: arrivals, f"the tray item of {command[0]}", REST_SECONDS)
            self.milliseconds = (arrivals[0] - start) * 1000
        self.item = desktop.wait_for_item(self.program)
        wait_for_rest(self.processes)
        self.memory = memory(self.processes())

    def processes(self):
        return self._desktop.processes_of(self.program)

    def memory_while_capturing(self):
        self.item.wait_for_entry(CAPTURE)
        self.item.click(CAPTURE)
        self.item.wait_for_entry("Quit", enabled=False)
        time.sleep(CAPTURE_SECONDS)  # until frames have been through every buffer
        return memory(self.processes())

    def end(self):
        for pid in self.processes():
            with contextlib.suppress(ProcessLookupError):  # gone with its parent
                os.kill(pid, signal.SIGTERM)
        try:
            self.program.wait(END_SECONDS)
        except subprocess.TimeoutExpired:
            self.program.kill()
            self.program.wait()


@contextlib.contextmanager
def registrations(desktop, watcher):
    """A list of when items register with the tray, filled while the main context runs."""
    from gi.repository import Gio
    flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
    connection = Gio.DBusConnection.new_for_address_sync(desktop.env["DBUS_SESSION_BUS_ADDRESS"], flags, None, None)
    connection.set_exit_on_close(False)
    arrivals = []
    connection.signal_subscribe(None, watcher, "StatusNotifierItemRegistered", None, None, Gio.DBusSignalFlags.NONE,
                                lambda *_: arrivals.append(time.monotonic()))
    try:
        yield arrivals
    finally:
        connection.close_sync(None)


def measure(build, repetitions):
    """Of every program its milliseconds and its memory, by run; the memory of captures under a name of its own."""
    from harness import Desktop
    own = [build / "bin/vantrel"]
    programs = {"Vantrel, simulated radio": (own, SIMULATED), "Vantrel, no adapter": (own, {})}
    programs |= {name: ([command], {}) for name, command in PEERS.items()}
    times, memories = {name: [] for name in programs}, {name: [] for name in programs}
    memories["Vantrel, capturing"] = []
    with Desktop() as desktop:
        settings = desktop.folder / "config/vantrel/settings.json"
        settings.parent.mkdir(mode=0o700)
        settings.write_text(json.dumps({"FirstTimeCapture": 0}))
        for run in range(repetitions + 1):
            for name, (command, environment) in programs.items():
                start = Start(desktop, command, environment)
                if run > 0:  # the first has brought every program into memory
                    times[name].append(start.milliseconds)
                    memories[name].append(start.memory)
                    if environment:
                        memories["Vantrel, capturing"].append(start.memory_while_capturing())
                start.end()
    return times, memories


def spread(values, digits=0):
    return f"{min(values):.{digits}f} to {max(values):.{digits}f}"


def rows(times, memories):
    smallest = median(times["qlipper"])
    for name, used in memories.items():
        resident, proportional = zip(*used)
        started = times.get(name)
        start = [f"{median(started):.0f}", spread(started), f"{median(started) / smallest:.2f}",
                 str(LIMIT_MS) if name.startswith("Vantrel") else ""] if started else 4 * [""]
        yield [name, *start, f"{median(resident):.1f}", f"{median(proportional):.1f}", spread(proportional, 1)]


def versions():
    lines = output_of("dpkg-query", "-W", "-f", "${Package} ${Version}\\n", *PEERS.values()).splitlines()
    return ", ".join(lines)


def section(build, repetitions):
    if missing := [command for command in PEERS.values() if shutil.which(command) is None]:
        raise Failed(f"not installed: {' and '.join(missing)}")
    sys.path.append(str(DESKTOP))
    from bus import TimedOut
    from harness import Unavailable
    try:
        times, memories = measure(build, repetitions)
    except Unavailable as reason:
        raise Failed(f"no desktop here: {reason}") from reason
    except (TimedOut, RuntimeError) as reason:
        raise Failed(str(reason)) from reason
    return ["From the start of the process until its item has registered with the tray, its files being in memory "
            "already, and what its processes hold when they have come to rest; medians of "
            f"{repetitions} starts in turn, then the least and the most. Peers: {versions()}.", "",
            *commands(["bench/run.py --build build/release --only startup"]), "",
            *table(HEAD, rows(times, memories)), "", REASON]
