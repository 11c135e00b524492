"""Watches the application while it captures: every finished file, as soon as it stands in its folder, and once a second
what the processes hold and how many frames their device has heard. The files are read by a process of its own, with the
lowest priority, so that what is measured is not the measuring."""
import concurrent.futures
import csv
import multiprocessing
import os
import threading
import time

import arrivals
import process
from frames import Capture

LOOK = 0.25   # seconds between looks into the folder: files tell nobody that they are there
SAMPLE = 1.0  # seconds between samples
COLUMNS = ("seconds", "capturing", "program rss KiB", "program own KiB", "program descriptors", "program threads",
           "program processor s", "host rss KiB", "host own KiB", "host descriptors", "host threads",
           "host processor s", "frames at the device")

_capture = None  # of the reading process


def _begin(rate, hops):
    global _capture
    os.nice(19)
    _capture = Capture(rate, hops)


def _read(path, marks):
    return _capture.read(path, marks)


def now_us():
    return time.time_ns() // 1000


class CaptureFiles:
    """The files of one capture, in the order in which they were finished."""

    def __init__(self, rate, hops):
        self.reader = concurrent.futures.ProcessPoolExecutor(1, multiprocessing.get_context("spawn"), _begin,
                                                             (rate, hops))
        self.held = {}   # by inode: open as long as the capture lasts, so that no other file gets the inode meanwhile
        self.samples = []
        self.device = None
        self.findings = None

    def collect(self, folder):
        """Names change while files are rotated, so it is the file behind a name that counts; the oldest first."""
        new = []
        for path in folder.rglob("*.pcap"):
            try:
                descriptor = os.open(path, os.O_RDONLY | os.O_CLOEXEC)
            except FileNotFoundError:
                continue
            status = os.fstat(descriptor)
            if status.st_ino in self.held:
                os.close(descriptor)
            else:
                self.held[status.st_ino] = descriptor
                new.append((status.st_mtime_ns, descriptor))
        for _, descriptor in sorted(new):
            marks = [time for sample in self.samples for time in (sample.before, sample.after)]
            self.findings = self.reader.submit(_read, f"/proc/{os.getpid()}/fd/{descriptor}", marks)

    def newest(self):
        """The descriptor of the last finished file, or None."""
        return next(reversed(self.held.values()), None)

    def end(self):
        findings = self.findings.result() if self.findings else None
        self.reader.shutdown()
        for descriptor in self.held.values():
            os.close(descriptor)
        self.held.clear()
        return findings


class Watch:
    """A thread from its making to close(). begin_capture() and end_capture() stand around each capture."""

    def __init__(self, program, host, folder, rate, series):
        self._pids = (program, host)
        self._folder = folder
        self._rate = rate
        self._start = time.monotonic()
        self._lock = threading.Lock()
        self._capture = None  # under the lock
        self.rows = []        # of the samples, as COLUMNS has them
        self.captures = []    # findings and balance of each
        self._series = open(series, "w", newline="", encoding="utf-8")
        self._writer = csv.writer(self._series)
        self._writer.writerow(COLUMNS)
        self._stop = threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def close(self):
        self._stop.set()
        self._thread.join()
        self._series.close()
        if self._capture:  # one that something else has cut short
            self.end_capture()

    @property
    def seconds(self):
        return time.monotonic() - self._start

    def begin_capture(self, hops):
        with self._lock:
            self._capture = CaptureFiles(self._rate, hops)

    def end_capture(self):
        """Once its last file stands in the folder. Waits until all files are read; what was found in them."""
        with self._lock:
            ended, self._capture = self._capture, None
            ended.collect(self._folder)
        findings = ended.end()
        self.captures.append((findings, arrivals.balance(ended.samples, findings.marks if findings else {})))
        return findings

    def copy_of_newest(self, path):
        """Copies the last finished file; False while there is none."""
        with self._lock:
            descriptor = self._capture.newest() if self._capture else None
            if descriptor is None:
                return False
            path.write_bytes(os.pread(descriptor, os.fstat(descriptor).st_size, 0))
            return True

    def _run(self):
        next_sample = self._start
        while not self._stop.wait(LOOK):
            with self._lock:
                if self._capture:
                    self._capture.collect(self._folder)
                if time.monotonic() >= next_sample:
                    next_sample += SAMPLE
                    try:
                        self._sample()
                    except (OSError, AttributeError):
                        pass  # a process has ended, which others notice and tell

    def _sample(self):
        count = self._count(self._capture) if self._capture else None
        row = [round(self.seconds, 3), int(self._capture is not None)]
        for pid in self._pids:
            row += [*process.memory(pid), process.count(pid, "fd"), process.count(pid, "task"),
                    process.processor_seconds(pid)]
        row.append("" if count is None else count)
        self.rows.append(row)
        self._writer.writerow(row)
        self._series.flush()

    def _count(self, capture):
        capture.device = capture.device or arrivals.device_of(self._pids[0])
        if capture.device is None:
            return None
        before = now_us()
        count = arrivals.count_of(self._pids[0], capture.device)
        if count is not None:
            capture.samples.append(arrivals.Sample(before, now_us(), count))
        return count
