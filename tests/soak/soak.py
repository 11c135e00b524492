#!/usr/bin/python3
"""The application for minutes on end in a desktop of its own, with a simulated radio under full load, in constant use.

    soak.py [--minutes N] [--rate FRAMES] [--keep] --build FOLDER --output FOLDER

Captures hop over all channels, with headers only and a new file every few seconds; meanwhile the menu is used, the
preferences are changed, finished files are uploaded to a peer on this machine, and the feed's host serves a client on a
radio of its own. Prints one line a figure and writes them to report.txt in the output folder, beside series.csv and
answers.csv. Exit status 0 when every figure holds, 1 when one fails, 77 when this machine can show no desktop.
"""
import argparse
import collections
import csv
import json
import os
import re
import shutil
import signal
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "desktop"))
import process  # noqa: E402
import report  # noqa: E402
from bus import TimedOut, wait_for  # noqa: E402
from feed import CLIENT_LOG, HOST_LOG, Feed  # noqa: E402
from frames import MOST_A_SECOND  # noqa: E402
from harness import Desktop, Unavailable  # noqa: E402
from peer import Peer  # noqa: E402
from user import CAPTURE, CAPTURE_2, CAPTURE_ALL, FAILURES, User  # noqa: E402
from watch import COLUMNS, Watch  # noqa: E402

SKIPPED = 77
LONGEST = 60.0        # seconds of a capture
AT_REST = 45.0        # seconds in which idle threads of libraries end by themselves
COMMANDS = (CAPTURE_ALL, CAPTURE_2, CAPTURE)
SETTINGS = {"FirstTimeCapture": 0, "ShowDisconnectAlert": 0, "DoNothing": 1, "OpenInApplication": 0,
            "EnableAdaptivePacketSlicing": 1, "DisplayChannel": 1, "DisplayChannelWidth": 1, "LimitCaptureFile": 1,
            "LimitCaptureFileUnits": 2, "LimitCaptureFileValue": 3, "MaxCaptureFiles": 5,
            "CloudSharkApplianceAPIToken": "token"}
# What the application says of lost frames, and the simulated radio where there is no device for its frames.
TOLD = re.compile(r"(\d+) of \d+ frames were dropped before they could be captured|"
                  r"the reader of the frame stream was too slow: (\d+) frames lost")
MEMORY = {f"{kind} of the {name}": COLUMNS.index(f"{who} {column} KiB")
          for who, name in (("program", "application"), ("host", "feed's host"))
          for kind, column in (("resident memory", "rss"), ("own memory", "own"))}
PROCESSOR = {f"processor time of the {name}": COLUMNS.index(f"{who} processor s")
             for who, name in (("program", "application"), ("host", "feed's host"))}


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--minutes", type=float, default=10.0)
    parser.add_argument("--rate", type=int, default=100_000, help="frames a second that the radio is to hear")
    parser.add_argument("--build", type=Path, required=True, help="the build folder of the programs")
    parser.add_argument("--output", type=Path, required=True, help="folder for the report and the series")
    parser.add_argument("--keep", action="store_true",
                        help="leave the largest file of the last capture there, as capture.pcap")
    options = parser.parse_args()
    if not 0 < options.rate <= MOST_A_SECOND or options.minutes <= 0:
        parser.error(f"the rate lies between 1 and {MOST_A_SECOND}, and the minutes above 0")
    return options


class Soak:
    def __init__(self, desktop, options, peer):
        self.desktop, self.options = desktop, options
        settings = desktop.folder / "config/vantrel/settings.json"
        settings.parent.mkdir(mode=0o700)
        settings.write_text(json.dumps(SETTINGS | {"CloudSharkApplianceURL": peer.address}))
        programs = options.build.resolve() / "bin"
        self.program = desktop.start([str(programs / "vantrel")], VANTREL_RADIO="simulated",
                                     VANTREL_RADIO_LOAD=str(options.rate))
        self.item = desktop.wait_for_item(self.program)
        self.feed = Feed(desktop, programs)
        self.feed.wait_for_record()
        self.pids = {"application": self.program.pid, "feed's host": self.feed.host.pid}
        self.watch = Watch(*self.pids.values(), desktop.folder / "home/Desktop", options.rate,
                           options.output / "series.csv")
        self.user = User(desktop, self.program, self.item, self.watch, peer)
        self.before, self.after = {}, {}
        self.trouble = []  # what ended the run early

    def run(self):
        with open(self.options.output / "answers.csv", "wb") as output:
            asking = subprocess.Popen([sys.executable, Path(__file__).with_name("answers.py"), self.desktop.env[
                "DBUS_SESSION_BUS_ADDRESS"], str(self.program.pid)], env=self.desktop.env, stdin=subprocess.PIPE,
                stdout=output)
            try:
                self.work()
            except FAILURES as reason:
                self.trouble.append(f"{type(reason).__name__}: {reason}")
            finally:
                asking.stdin.close()
                asking.wait(20)
                self.watch.close()

    def work(self):
        """Captures in turn until the time is up."""
        self.user.rest()
        # First everything once, so that what is made once and kept is there before anything is compared.
        self.capture(CAPTURE_ALL, 0, self.user.kinds)
        self.before = {name: process.holdings(pid) for name, pid in self.pids.items()}
        length = min(LONGEST, self.options.minutes * 60 / len(COMMANDS))
        rounds = max(len(COMMANDS), round(self.options.minutes * 60 / length))
        for number in range(rounds):
            self.capture(COMMANDS[number % len(COMMANDS)], length)
            # What an idle library still held after the first capture is none that was there before.
            for name, pid in self.pids.items():
                self.before[name] &= process.holdings(pid)
        self.after = {name: self.at_rest(name, pid) for name, pid in self.pids.items()}

    def capture(self, command, seconds, deeds=0):
        say(f"{self.watch.seconds:5.0f} s: {command}")
        found = self.user.capture(command, seconds, deeds)
        if found:
            say(f"         {found.records:,} frames in {found.files} files, {found.missing} missing")
        files = list((self.desktop.folder / "home/Desktop").rglob("*.pcap"))
        if self.options.keep and files:
            shutil.copyfile(max(files, key=lambda path: path.stat().st_size), self.options.output / "capture.pcap")
        for path in files:
            path.unlink()
        self.user.rest()

    def at_rest(self, name, pid):
        """What it holds, once it holds no more than before, or as it stays."""
        try:
            wait_for(lambda: not process.holdings(pid) - self.before[name], "rest", AT_REST, 500)
        except TimedOut:
            pass
        return process.holdings(pid)

    def end(self):
        """Quits the application from its menu and ends the feed; the figures of both ends."""
        try:
            self.item.wait_for_entry("Quit")
            self.item.click("Quit")
            status = self.program.wait(20)
        except (*FAILURES, subprocess.TimeoutExpired) as reason:
            status = f"{self.program.poll()} ({reason})"
        statuses = self.feed.end()
        return [report.judged(status == 0, "end of the application", f"exit status {status}"),
                report.judged(statuses[1] == 0, "end of the feed's host", f"exit status {statuses[1]}")]

    def figures(self):
        ends = self.end()
        log = self.desktop.log("program")
        sweeps, records, faults = self.feed.sweeps()
        told = sum(int(number) for match in TOLD.findall(log) for number in match if number)
        user = self.user
        return [
            *(report.judged(False, "the run", reason) for reason in self.trouble),
            *report.frames(self.watch.captures, self.options.rate, told),
            *report.processor(self.watch.rows, PROCESSOR),
            *report.memory(self.watch.rows, MEMORY),
            *(report.left_over(f"left over in the {name}", self.before[name], held)
              for name, held in self.after.items()),
            *report.answers(answers(self.options.output / "answers.csv")),
            report.judged(not user.failed and user.done > 0, "used from its menu and windows",
                          f"{user.done} times" + "".join(f"; failed: {reason}" for reason in user.failed)),
            report.judged(user.uploads > 0 and not user.uploads_altered, "uploads",
                          f"{user.uploads}, {user.uploads_altered} of them not as the file was"),
            report.judged(sweeps > 0 and not faults, "feed", f"{sweeps} sweeps with {records} records"
                          + "".join(f"; {fault}" for fault in faults)),
            *ends]

    def details(self):
        """What stands below the figures: the faults one by one, and what the programs said."""
        yield from (text for findings, _ in self.watch.captures if findings for text in findings.told)
        for name in ("program", HOST_LOG, CLIENT_LOG):
            lines = [line for line in self.desktop.log(name).splitlines() if not line.startswith("{")]
            yield from (f"{name} said {count} times: {line}" for line, count in collections.Counter(lines).items())


def answers(path):
    times = collections.defaultdict(list)
    with open(path, newline="", encoding="utf-8") as file:
        for row in csv.reader(file):
            times[row[1]].append(float(row[2]))
    return times or {"answers": []}


def say(text):
    print(text, file=sys.stderr, flush=True)


def main():
    options = arguments()
    options.output.mkdir(parents=True, exist_ok=True)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # so that the desktop ends with us
    peer = Peer()
    try:
        with Desktop() as desktop:
            soak = Soak(desktop, options, peer)
            soak.run()
            figures = soak.figures()
            lines = [f"{options.minutes:g} minutes at {options.rate:,} frames a second, "
                     f"{len(os.sched_getaffinity(0))} processors, load average {os.getloadavg()[1]:.1f}",
                     *map(str, figures)]
            (options.output / "report.txt").write_text("\n".join([*lines, "", *soak.details()]) + "\n")
    except Unavailable as reason:
        print(f"No desktop can be shown here: {reason}")
        return SKIPPED
    finally:
        peer.close()
    print("\n".join(lines))
    return 1 if report.failed(figures) else 0


if __name__ == "__main__":
    sys.exit(main())
