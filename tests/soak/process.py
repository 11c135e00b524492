"""What a process holds, as /proc tells it."""
import collections
import os
import re
from pathlib import Path

TICKS = os.sysconf("SC_CLK_TCK")


def memory(pid):
    """The resident set and, of it, what is no file's and so nobody else's, in KiB."""
    text = Path(f"/proc/{pid}/smaps_rollup").read_text(encoding="ascii", errors="replace")
    return tuple(int(re.search(rf"^{name}:\s+(\d+)", text, re.MULTILINE).group(1)) for name in ("Rss", "Anonymous"))


def processor_seconds(pid):
    fields = Path(f"/proc/{pid}/stat").read_text(encoding="utf-8", errors="replace").rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


def count(pid, what):
    """Its entries of that kind: "fd" or "task"."""
    return len(os.listdir(f"/proc/{pid}/{what}"))


def holdings(pid):
    """Its descriptors, threads and children, each by its kind: those of one kind are alike."""
    held = collections.Counter()
    for name in os.listdir(f"/proc/{pid}/fd"):
        try:
            target = os.readlink(f"/proc/{pid}/fd/{name}")
        except OSError:  # closed meanwhile
            continue
        held["descriptor " + re.sub(r":\[\d+\]$", "", target)] += 1
    for name in os.listdir(f"/proc/{pid}/task"):
        try:
            task = Path(f"/proc/{pid}/task/{name}")
            held["thread " + (task / "comm").read_text(encoding="utf-8", errors="replace").strip()] += 1
            held["child"] += len((task / "children").read_text(encoding="ascii").split())
        except OSError:
            continue
    return +held
