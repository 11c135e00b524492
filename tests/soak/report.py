"""What a soak has found: one line a figure, each with its limit, and whether it holds."""
import statistics
from dataclasses import dataclass

FIRST_MINUTE = 60.0     # seconds in which memory may grow: caches fill, pools reach their size
SETTLED = 5.0           # seconds after a capture's start; the kernel's buffer of a capture counts as memory too
APART = (55.0, 65.0)    # seconds between two samples that are compared: no capture is longer, so what each leaves shows
# KiB a minute: at 100,000 frames a second, less than a tenth of a byte for each of them.
GROWTH = 512.0
# KiB once: the queue holds 8,192 frames of 2 KiB, and fills whenever the machine does something else for a moment.
QUEUE = 20 * 1024.0
ANSWER_95 = 100.0       # ms: what a user feels as at once
ANSWER_LONGEST = 1000.0  # ms: what interrupts a user
FULL_RATE = 0.95        # of the rate that was asked for; below, the machine is what was measured
OK, NOTE, FAILED = "ok", "note", "FAILED"


@dataclass(frozen=True)
class Figure:
    verdict: str
    name: str
    text: str

    def __str__(self):
        return f"{self.verdict:6} {self.name}: {self.text}"


def judged(good, name, text):
    return Figure(OK if good else FAILED, name, text)


def failed(figures):
    return any(figure.verdict == FAILED for figure in figures)


def total(captures, name):
    return sum(getattr(findings, name) for findings, _ in captures)


def frames(captures, rate, told_lost):
    """Of all captures: findings in their files, with the balance of the device's counter, or None, each."""
    empty = sum(findings is None for findings, _ in captures)
    captures = [(findings, balance) for findings, balance in captures if findings]
    count, missing = total(captures, "records"), total(captures, "missing")
    figures = [judged(not empty and count > 0, "captures", f"{len(captures)} with {total(captures, 'files')} files, "
                      f"{count:,} frames in them, {empty} without a file"),
               reached(captures, rate)]
    figures.append(judged(missing <= told_lost, "lost within the files",
                          f"{missing:,} frames in {total(captures, 'holes')} holes"))
    figures.append(judged(told_lost == 0, "told as lost by the program", f"{told_lost:,} of {count + told_lost:,}"))
    figures.append(counted(captures, told_lost))
    for name, what in (("backward", "frames doubled or late"), ("time_back", "record times going back"),
                       ("tsft_back", "TSFT going back"), ("altered", "frames altered"), ("torn", "files torn")):
        figures.append(judged(total(captures, name) == 0, what, f"{total(captures, name):,}"))
    pauses = total(captures, "pauses")
    longest = max((findings.longest_hop for findings, _ in captures), default=0) / 1000
    figures.append(Figure(NOTE if pauses else OK, "hops", f"{total(captures, 'hops'):,}, the longest silence at one "
                          f"{longest:.1f} ms; the simulated radio fell behind {pauses} times"))
    return figures


def reached(captures, rate):
    seconds = sum(findings.ended - findings.started for findings, _ in captures) / 1e6
    load = total(captures, "load")
    speed = load / seconds if seconds else 0
    enough = speed >= FULL_RATE * rate
    return Figure(OK if enough else NOTE, "rate", f"{speed:,.0f} frames a second of {rate:,} asked for, "
                  f"{total(captures, 'sliced') / max(load, 1):.0%} of them cut to their headers"
                  + ("" if enough else "; this machine did not keep up, or did other things meanwhile"))


def counted(captures, told_lost):
    name = "lost by the device's own count"
    known = [balance for _, balance in captures if balance]
    if not known:
        return Figure(NOTE, name, "not measured: the radio's frames come through no device here")
    lost, surplus = (sum(balance[index] for balance in known) for index in (0, 1))
    doubt = max(balance[2] for balance in known)
    return judged(lost <= told_lost and surplus == 0, name, f"at least {lost:,} lost and {surplus:,} invented, known "
                  f"within {doubt:,} frames, in {len(known)} captures")


def settled_points(rows, column):
    """(seconds, value) of the samples during captures, from the second minute on, once each capture has settled."""
    points, begun = [], None
    for row in rows:
        if not row[1]:
            begun = None
            continue
        begun = row[0] if begun is None else begun
        if row[0] >= FIRST_MINUTE and row[0] - begun >= SETTLED:
            points.append((row[0], row[column]))
    return points


def memory(rows, columns):
    figures = []
    for name, column in columns.items():
        points = settled_points(rows, column)
        slope = growth(points)
        if slope is None:
            figures.append(Figure(NOTE, name, "not judged: the run is too short, it takes three minutes"))
            continue
        values = [value for _, value in points]
        minutes = (points[-1][0] - points[0][0]) / 60
        once, most = statistics.median(values[-20:]) - statistics.median(values[:20]), QUEUE + GROWTH * minutes
        figures.append(judged(slope <= GROWTH and once <= most, name,
                              f"{slope:+.0f} KiB a minute (limit {GROWTH:.0f}), {once / 1024:+.1f} MiB in "
                              f"{minutes:.1f} minutes (limit {most / 1024:.1f}); {min(values) / 1024:.1f} to "
                              f"{max(values) / 1024:.1f} MiB"))
    return figures


def growth(points):
    """KiB a minute: the median between any two samples that are a minute apart. So a jump, as a queue that was full for
    once leaves it, does not count, and whatever grows steadily does. None when there are no such samples."""
    slopes, first = [], 0
    for seconds, value in points:
        while points[first][0] < seconds - APART[1]:
            first += 1
        for earlier, before in points[first:]:
            if seconds - earlier < APART[0]:
                break
            slopes.append((value - before) / (seconds - earlier) * 60)
    return statistics.median(slopes) if slopes else None


def processor(rows, columns):
    """What captures cost, in share of one processor."""
    pairs = [(earlier, later) for earlier, later in zip(rows, rows[1:]) if earlier[1] and later[1]]
    passed = sum(later[0] - earlier[0] for earlier, later in pairs)
    return [Figure(OK, name, f"{sum(later[column] - earlier[column] for earlier, later in pairs) / max(passed, 1):.0%} "
                   "of one processor during captures, its simulated radio included")
            for name, column in columns.items()]


def left_over(name, before, after):
    more = after - before
    kinds = [f"{sum(count for what, count in held.items() if what.startswith(kind))}"
             for kind in ("descriptor", "thread", "child") for held in (before, after)]
    return judged(not more, name, (", ".join(f"{count} more: {what}" for what, count in sorted(more.items())) or "none")
                  + "; descriptors {} before and {} after, threads {} and {}, children {} and {}".format(*kinds))


def answers(times):
    """Times: by what was asked, milliseconds of each answer."""
    figures = []
    for name, values in times.items():
        if len(values) < 2:
            figures.append(judged(False, name, "no answers"))
            continue
        typical, most, longest = statistics.median(values), sorted(values)[int(len(values) * 0.95)], max(values)
        figures.append(judged(most <= ANSWER_95 and longest <= ANSWER_LONGEST, f"answers, {name}",
                              f"{len(values):,}; median {typical:.1f} ms, 95 % {most:.1f} ms (limit {ANSWER_95:.0f}), "
                              f"longest {longest:.1f} ms (limit {ANSWER_LONGEST:.0f})"))
    return figures
