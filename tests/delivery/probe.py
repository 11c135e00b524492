"""The probe (notification_probe.cpp) as a test sees it: orders in, lines out; and an application that a desktop can
start, which reports how it was started."""
import json
import os
import select
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "desktop"))
from bus import wait_for  # noqa: E402

PATIENCE = 20.0  # for a machine under load

# What the application does: one line of JSON into the pipe that its first argument names.
RECORDER = """
import json, os, sys
status = dict(line.split(":\\t", 1) for line in open("/proc/self/status").read().splitlines() if ":\\t" in line)
descriptors = {}
for name in os.listdir("/proc/self/fd"):
    try:
        descriptors[name] = os.readlink("/proc/self/fd/" + name)
    except FileNotFoundError:
        pass  # the one that listed them
with open(sys.argv[1], "w") as pipe:
    pipe.write(json.dumps({"name": sys.argv[2], "arguments": sys.argv[3:], "descriptors": descriptors,
                           "environment": dict(os.environ), "blocked": status["SigBlk"],
                           "ignored": status["SigIgn"]}) + "\\n")
"""


class Probe:
    """Wraps a process that was started with pipes as its standard input and a file as its output."""

    def __init__(self, process, output):
        self.process = process
        self._output = output

    def order(self, *words):
        self.process.stdin.write("\t".join(words).encode() + b"\n")
        self.process.stdin.flush()

    def told(self, *words):
        return [line for line in self._lines() if line[:len(words)] == list(words)]

    def wait_for(self, *words, count=1):
        """Waits until it has printed so many lines that begin with these words; the last of them. It prints to a file,
        which tells nobody."""
        def look():
            if self.process.poll() is not None:
                raise RuntimeError(f"the probe ended with status {self.process.returncode}")
            return len(self.told(*words)) >= count
        wait_for(look, f"the probe to say {words}; it said {self._lines()}", PATIENCE, poll_ms=20)
        return self.told(*words)[-1]

    def _lines(self):
        text = self._output()
        return [line.split("\t") for line in text[:text.rfind("\n") + 1].splitlines()]


class Recorder:
    """Applications in a data folder of the desktop; each start of one is one report."""

    def __init__(self, data_home):
        self._folder = Path(tempfile.mkdtemp(prefix="recorder-", dir=data_home))
        self._applications = Path(data_home) / "applications"
        self._applications.mkdir(exist_ok=True)
        (self._folder / "recorder.py").write_text(RECORDER)
        self._pipe_path = self._folder / "reports"
        os.mkfifo(self._pipe_path)
        self._pipe = os.open(self._pipe_path, os.O_RDWR | os.O_CLOEXEC)
        self._read = b""

    def close(self):
        os.close(self._pipe)

    def add(self, name, types="", field="%u", program="/usr/bin/python3"):
        """An application that opens these content types; the path of its entry."""
        entry = self._applications / f"{name}.desktop"
        entry.write_text(f"[Desktop Entry]\nType=Application\nName={name}\nMimeType={types}\n"
                         f"Exec={program} {self._folder}/recorder.py {self._pipe_path} {name} {field}\n")
        with open(self._applications / "mimeapps.list", "a") as defaults:
            if defaults.tell() == 0:
                defaults.write("[Default Applications]\n")
            for content_type in filter(None, types.split(";")):
                defaults.write(f"{content_type}={name}.desktop\n")
        return str(entry)

    def report(self):
        """Waits for the next start of an application; what it reports."""
        while b"\n" not in self._read:
            ready, _, _ = select.select([self._pipe], [], [], PATIENCE)
            if not ready:
                raise TimeoutError("no application was started")
            self._read += os.read(self._pipe, 65536)
        line, self._read = self._read.split(b"\n", 1)
        return json.loads(line)

    def is_silent(self):
        """Whether no start was reported that has not been read."""
        return not self._read and not select.select([self._pipe], [], [], 0)[0]
