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
ENTRIES = ((re.compile(r"(?:__x64_sys_|__arm64_sys_|ksys_)(\w+)"), "{}()"),
           (re.compile(r"asm_exc_page_fault|el0_da"), "page faults"),
           (re.compile(r"asm_\w*interrupt|el0_irq"), "interrupts"))
FRAME = re.compile(r"^\s+[0-9a-f]+ (.+?)(?:\+0x[0-9a-f]+)? \((.+?)\)$")
REASON = """\
A row of the kernel is a call with everything that it does in there. Functions without a name are those that a library
does not export. The three largest costs, and what was done about each:

1. **Writing the file**: `write()`, and in front of it the C library's copy (`memmove`, `_IO_file_xsputn`, `fwrite`).
   Records are gathered in 256 KiB, so that one call takes hundreds of them, and the stream's lock is off. What is left is
   the file system's work for each page, which tcpdump has as well. Reserving blocks ahead would take off a little of
   it, and is not done: a file would hold room that it never fills, and the disk be full earlier.
2. **The way of an operation from one processor's cache to the other's**: `spareOperation`, `runOperations`,
   `takeBatch`, and the beginning of `setFrame`. The worker hands operations back in batches, the one last touched is
   used first, and the lines of the next are fetched while one is filled or run. No lock and no wake-up is taken for a
   single frame.
3. **Taking the frame from the kernel's ring**: `setFrame`, libpcap's walk along the ring, and `poll()`. libpcap lets
   go of a frame when its callback returns, so one copy there must be; it goes into memory that is used again and
   is not cleared first. Frames come in blocks, of which a `poll()` waits for the first only."""


class Sampler:
    """perf beside one process, from its making to take()."""

    def __init__(self, pid, path):
        self.path = path
        self.found = Counter()  # how often each function of each thread was met
        self.perf = subprocess.Popen(["perf", "record", "-q", "-g", "-o", path, "-e", "cpu-clock", "-F",
                                      str(SAMPLES_A_SECOND), "-p", str(pid)], stderr=subprocess.PIPE, text=True)

    def take(self):
        self.perf.send_signal(signal.SIGINT)
        said = self.perf.communicate(timeout=60)[1]
        for sample in output_of("perf", "script", "-i", self.path, "-F", "comm,ip,sym,symoff,dso").split("\n\n"):
            thread, *lines = sample.strip("\n").split("\n")
            frames = [match.groups() for match in map(FRAME.match, lines) if match]
            if frames:
                self.found[THREADS.get(thread.strip(), thread.strip()), work(frames)] += 1
        if not self.found:
            raise Failed(f"perf recorded nothing: {said}")


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
    """The samples of one capture of live.FRAMES frames, and its outcome."""
    path = build / "bench/perf.data"
    samplers = []

    def watch(pid):
        samplers.append(Sampler(pid, path))
        return samplers[0].take
    capture = live.vantrel(build / "tests/engine/live/session_driver", watch=watch)
    outcome = live.alternated(build, {"Vantrel": capture}, 0, 1)["Vantrel"][0]
    path.unlink()
    return samplers[0].found, outcome


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
