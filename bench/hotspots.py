"""Where a capture spends its processor time: perf's samples of one capture at full speed, by thread and function."""
import re
import shutil
import signal
import subprocess
from collections import Counter
from pathlib import Path

import live
from programs import Failed, commands, output_of, table

SAMPLES_A_SECOND = 4999
SHOWN = 12
THREADS = {"vantrel-pcap": "capture", "vantrel-queue": "queue", "session_driver": "main"}
# A sample in the kernel counts for what it was entered for.
ENTRIES = ((re.compile(r"__(?:x64|arm64)_sys_(\w+)"), "{}()"), (re.compile(r"asm_exc_page_fault|el0_da"), "page faults"),
           (re.compile(r"asm_\w*interrupt|el0_irq"), "interrupts"))
FRAME = re.compile(r"^\s+[0-9a-f]+ (.+?)(?:\+0x[0-9a-f]+)? \((.+?)\)$")
REASON = """\
"Kernel" rows are what a system call costs inside of the kernel, with everything that it calls; functions without a
name are the C library's own (memcpy above all), which it does not export."""


class Sampler:
    """perf beside one process, from its making to samples()."""

    def __init__(self, pid, path):
        self.path = path
        self.perf = subprocess.Popen(["perf", "record", "-q", "-g", "-o", path, "-e", "cpu-clock", "-F",
                                      str(SAMPLES_A_SECOND), "-p", str(pid)], stderr=subprocess.PIPE, text=True)

    def samples(self):
        """How often each function of each thread was met."""
        self.perf.send_signal(signal.SIGINT)
        said = self.perf.communicate(timeout=60)[1]
        found = Counter()
        for sample in output_of("perf", "script", "-i", self.path, "-F", "comm,ip,sym,symoff,dso").split("\n\n"):
            thread, *lines = sample.strip("\n").split("\n")
            frames = [match.groups() for match in map(FRAME.match, lines) if match]
            if frames:
                found[THREADS.get(thread.strip(), thread.strip()), work(frames)] += 1
        if not found:
            raise Failed(f"perf recorded nothing: {said}")
        return found


def work(frames):
    """What the innermost function of a sample is called in the table."""
    function, library = frames[0]
    if library.startswith("["):
        for pattern, name in ENTRIES:
            for outer, _ in frames:
                if match := pattern.match(outer):
                    return "kernel: " + name.format(*match.groups())
        return "kernel: else"
    name = re.sub(r"\(.*|@.*", "", function)
    return f"{Path(library).name}: {name}" if name != "[unknown]" else f"{Path(library).name}: without a name"


def sampled(build):
    """One capture of live.FRAMES frames; the samples of it, and how many frames it kept."""
    folder = build / "bench/live"
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    air = live.Air(build)
    samplers = []
    try:
        capture = live.vantrel(build / "tests/engine/live/session_driver",
                               watched=lambda pid: samplers.append(Sampler(pid, folder / "perf.data")),
                               before_stop=lambda: samplers.append(samplers[0].samples()))
        outcome = capture(air, folder, 0)
        return samplers[1], outcome
    finally:
        air.close()
        shutil.rmtree(folder)


def section(build):
    if not shutil.which("perf"):
        raise Failed("perf is not installed")
    samples, outcome = sampled(build)
    total = sum(samples.values())
    threads = Counter()
    for (thread, _), count in samples.items():
        threads[thread] += count

    def cost(count):
        return f"{count / SAMPLES_A_SECOND * 1e9 / live.FRAMES:.0f}", f"{count / total * 100:.1f} %"
    rows = [[f"{thread}: all", *cost(count)] for thread, count in threads.most_common(3)]
    rows += [[f"{thread}: `{function}`", *cost(count)] for (thread, function), count in samples.most_common(SHOWN)]
    return [f"One capture of {live.FRAMES:,} frames of {live.SIZE} bytes at full speed ({outcome.rate:,.0f} frames a second, "
            f"{live.percent(outcome.kept)} kept), {total:,} samples of the capture's process by perf.", "",
            *commands([f"perf record -g -e cpu-clock -F {SAMPLES_A_SECOND} -p PID   # of session_driver, as above",
                       "bench/run.py --build build/release --only profile"]), "",
            *table(["thread: work", "ns a frame", "share"], rows), "", REASON]
