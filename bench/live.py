"""Captures on a live TAP device, fed at a set speed: the same frames for each program, one after the other."""
import json
import os
import pathlib
import shutil
import subprocess
import time
from programs import Failed, Program, commands, median, output_of, table

FRAMES = 2_000_000
SIZE = 300
SPEEDS = {"full speed": 0, "400,000 a second": 400_000}
BUFFERS = (2, 4, 8, 16)  # MiB
QUIET = 1.5  # seconds; tcpdump's and dumpcap's read time-out is up to 1 s, after which nothing is left underway


class Outcome:
    """One capture of FRAMES frames."""

    def __init__(self, kept, cpu, memory, said, seconds):
        self.kept = kept / FRAMES
        self.cpu = cpu * 1e6 / FRAMES
        self.memory = memory
        self.said = said        # dropped frames, as the program itself printed them
        self.rate = FRAMES / seconds


class Air:
    """The generator and its device."""

    def __init__(self, build):
        self.generator = Program([build / "tests/simulated/tap_generator"], limit=3600, stderr=subprocess.STDOUT)
        self.device = self.generator.hear()
        if "error" in self.device or not os.path.exists(f"/sys/class/net/{self.device}"):
            raise Failed(self.device)

    def send(self, rate):
        self.generator.tell(f"send {FRAMES} {rate} {SIZE}")
        return float(self.generator.hear("^sent").split()[-1])

    def close(self):
        self.generator.end()


def unavailable(build):
    """Why there can be no live capture here; empty when there can."""
    try:
        Air(build).close()
        return ""
    except Failed as failure:
        return str(failure).replace("\n", " ")


def frames_in(path):
    words = output_of("capinfos", "-T", "-r", "-c", "-M", path).split("\t")
    return int(words[1]) if len(words) > 1 else 0


def peer(command, ready, dropped):
    """A capture with a program that is stopped by an interrupt; `dropped` finds its own count of lost frames."""
    def capture(air, folder, rate):
        path = folder / "peer.pcap"
        program = Program([word.format(device=air.device, file=path) for word in command], stderr=subprocess.STDOUT)
        program.hear(ready)
        program.mark()
        seconds = air.send(rate)
        time.sleep(QUIET)
        memory = program.peak_memory()
        program.interrupt()
        cpu, rest = program.end()
        return Outcome(frames_in(path), cpu, memory, dropped(rest), seconds)
    return capture


def vantrel(driver, slicing=False, buffer=None, watch=None):
    """A capture with ours. `watch` is told its process before the frames are sent; what it answers is called after."""
    def capture(air, folder, rate):
        settings = folder / "config/vantrel/settings.json"
        settings.parent.mkdir(parents=True)
        settings.write_text(json.dumps({"CaptureFilesLocation": str(folder), "EnableAdaptivePacketSlicing": slicing}))
        environment = dict(os.environ, TMPDIR=str(folder), XDG_CONFIG_HOME=str(folder / "config"),
                           XDG_CACHE_HOME=str(folder / "cache"))
        if buffer:
            environment["BENCH_KERNEL_BUFFER"] = str(buffer * 1024 * 1024)
        program = Program([driver, air.device], env=environment, stderr=subprocess.STDOUT)
        program.hear("^ready 127")
        program.tell("start")
        program.hear("^capturing")
        watched = watch(program.process.pid) if watch else None
        program.mark()
        seconds = air.send(rate)
        time.sleep(QUIET)
        if watched:
            watched()
        program.tell("stop")
        said = int(program.hear("^idle").split()[2])
        memory = program.peak_memory()
        cpu, _ = program.end()
        return Outcome(sum(frames_in(path) for path in folder.rglob("*.pcap")), cpu, memory, said, seconds)
    return capture


def number_before(words):
    def find(text):
        return next((int(line.split()[0]) for line in text.splitlines() if words in line), 0)
    return find


def dumpcaps_count(text):
    """From "Packets received/dropped on interface 'x': 10/2 (pcap:2/dumpcap:0/flushed:0/ps_ifdrop:0) (83.3%)"."""
    return next((int(line.rsplit(": ", 1)[1].split("/")[1].split()[0]) for line in text.splitlines()
                 if line.startswith("Packets received/dropped")), 0)


def programs(build):
    return {
        "tcpdump": peer(["tcpdump", "-Z", "root", "-i", "{device}", "-s", "2048", "-w", "{file}"], "listening on",
                        number_before("dropped by kernel")),
        "dumpcap": peer(["dumpcap", "-q", "-i", "{device}", "-s", "2048", "-w", "{file}"], "^File:", dumpcaps_count),
        "Vantrel": vantrel(build / "tests/engine/live/session_driver"),
        "Vantrel, slicing": vantrel(build / "tests/engine/live/session_driver", slicing=True),
    }


def alternated(build, captures, rate, repetitions):
    """The outcomes of each capture, all of them taken in turn in each repetition."""
    outcomes = {name: [] for name in captures}
    for _ in range(repetitions):
        for name, capture in captures.items():
            folder = pathlib.Path(build / "bench/live")
            shutil.rmtree(folder, ignore_errors=True)
            folder.mkdir(parents=True)
            air = Air(build)
            try:
                outcomes[name].append(capture(air, folder, rate))
            finally:
                air.close()
                shutil.rmtree(folder)
    return outcomes


def percent(share):
    return f"{share * 100:.3f} %"


def live_rows(outcomes, crc):
    own = median([outcome.cpu for outcome in outcomes["tcpdump"]])
    rows = []
    for name, runs in outcomes.items():
        cpu = median([run.cpu for run in runs])
        allowed = own + (crc if "slicing" in name else 0)
        rows.append([name, percent(median([run.kept for run in runs])), percent(min(run.kept for run in runs)),
                     str(max(run.said for run in runs)), f"{cpu:.3f}",
                     f"{cpu / allowed:.2f}" if name.startswith("Vantrel") else f"{cpu / own:.2f}",
                     f"{median([run.memory for run in runs]):.0f}"])
    return rows


def live_section(build, repetitions, crc):
    lines = [f"{FRAMES:,} frames of {SIZE} bytes for each program, {repetitions} times in turn, through a TAP device "
             "of link type radiotap. Processor seconds are those of the whole process from its readiness to its end, "
             "for a million frames sent. Vantrel's limit is tcpdump's own, and with slicing "
             f"{crc:.3f} s more for the check sequences (`crc32OfZlib/287`).", ""]
    lines += commands(["build/release/tests/simulated/tap_generator        # then: send 2000000 RATE 300",
                       "tcpdump -Z root -i DEVICE -s 2048 -w FILE", "dumpcap -q -i DEVICE -s 2048 -w FILE",
                       "build/release/tests/engine/live/session_driver DEVICE   # then: start, stop, quit",
                       "bench/run.py --build build/release --only live"])
    for name, rate in SPEEDS.items():
        outcomes = alternated(build, programs(build), rate, repetitions)
        sent = median([run.rate for runs in outcomes.values() for run in runs])
        lines += ["", f"At {name} ({sent:,.0f} frames a second):", ""]
        lines += table(["program", "kept", "kept, worst run", "dropped by its own count, worst run", "s per million",
                        "of the limit", "peak MiB"], live_rows(outcomes, crc))
    return lines


def buffer_section(build, repetitions):
    driver = build / "bench/session_driver_sized"
    captures = {f"{size} MiB": vantrel(driver, buffer=size) for size in BUFFERS}
    outcomes = alternated(build, captures, 0, repetitions)
    lines = [f"Vantrel's captures again, {FRAMES:,} frames of {SIZE} bytes at full speed, {repetitions} times for each "
             "size of the kernel's buffer.", ""]
    lines += commands(["BENCH_KERNEL_BUFFER=8388608 build/release/bench/session_driver_sized DEVICE",
                       "bench/run.py --build build/release --only buffer"])
    lines += ["", *table(["buffer", "kept", "kept, worst run", "runs with a loss", "peak MiB"],
                         [[name, percent(median([run.kept for run in runs])), percent(min(run.kept for run in runs)),
                           f"{sum(run.kept < 1 for run in runs)} of {len(runs)}",
                           f"{median([run.memory for run in runs]):.0f}"] for name, runs in outcomes.items()])]
    return lines
