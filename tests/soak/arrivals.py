"""The kernel's own count of the frames that arrived at the radio's device, beside what stands in the files.

A sample of the counter lies between two looks at the clock, and the kernel stamps each frame with the same clock. So
the records up to the first look have all been counted, and those after the second have not: the difference between
counter and files is known within the few frames that arrived between the looks. It is what was deliberately left out
before the capture began, and it must stay as it is: where it grows, frames were lost, and not just those that left a
hole.
"""
import os
from dataclasses import dataclass

SLACK = 2  # frames: one under way between stamp and counter at either end


@dataclass(frozen=True)
class Sample:
    before: int  # µs since 1970
    after: int
    count: int


def device_of(pid):
    """The name of the process's TAP device, or None. The descriptor itself tells it."""
    for name in os.listdir(f"/proc/{pid}/fdinfo"):
        try:
            with open(f"/proc/{pid}/fdinfo/{name}", encoding="ascii", errors="replace") as file:
                for line in file:
                    if line.startswith("iff:"):
                        return line.split()[1]
        except OSError:  # closed meanwhile
            continue
    return None


def count_of(pid, device):
    """Frames received by the device, in whatever network the process lives; None when it is gone."""
    with open(f"/proc/{pid}/net/dev", encoding="ascii") as file:
        for line in file:
            name, colon, numbers = line.partition(":")
            if colon and name.strip() == device:
                return int(numbers.split()[1])
    return None


def balance(samples, marks):
    """The least number of frames that were lost, and of records that never arrived, and how wide the doubt is; None
    without two samples that the records reach. Marks: time: records up to it, for both times of each sample."""
    least, most, lost, surplus, doubt, reached = None, None, 0, 0, 0, 0
    for sample in samples:
        if not marks.get(sample.before) or sample.after not in marks:
            continue
        reached += 1
        low, high = sample.count - marks[sample.after] - SLACK, sample.count - marks[sample.before] + SLACK
        doubt = max(doubt, high - low)
        if least is not None:
            lost = max(lost, low - least)
            surplus = max(surplus, most - high)
        least = high if least is None else min(least, high)
        most = low if most is None else max(most, low)
    return (lost, surplus, doubt) if reached > 1 else None
