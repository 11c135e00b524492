"""Programs in the machine: run to their end, or kept running with a log, and waiting for what they bring about."""
import os
import signal
import subprocess
import threading
import time
from pathlib import Path

LOGS = Path("/run/lab/logs")
RUN_SECONDS = 30.0
POLL_SECONDS = 0.05
STOP_SECONDS = 10.0


class Failed(Exception):
    """What the scenario expected did not happen; the text says what."""


def check(condition, text):
    if not condition:
        raise Failed(text)


def wait_for(condition, what, timeout=10.0, poll=POLL_SECONDS):
    """The first true answer of condition(), which is asked again and again. `what` may be a function that tells."""
    end = time.monotonic() + timeout
    while True:
        answer = condition()
        if answer:
            return answer
        if time.monotonic() > end:
            raise Failed(f"after {timeout:g} s still waiting for {what() if callable(what) else what}")
        time.sleep(poll)


def seconds_until(condition, what, timeout):
    """As wait_for(); how long it took."""
    start = time.monotonic()
    wait_for(condition, what, timeout)
    return time.monotonic() - start


def run(*command, timeout=RUN_SECONDS, input=None):
    """What the command prints. It must end with status 0."""
    done = attempt(*command, timeout=timeout, input=input)
    if done.returncode != 0:
        raise Failed(f"{' '.join(command)} ended with status {done.returncode}: {(done.stdout + done.stderr).strip()}")
    return done.stdout


def attempt(*command, timeout=RUN_SECONDS, input=None):
    try:
        return subprocess.run(command, capture_output=True, text=True, timeout=timeout, input=input,
                              errors="replace", stdin=None if input is not None else subprocess.DEVNULL)
    except subprocess.TimeoutExpired:
        raise Failed(f"{' '.join(command)} took more than {timeout:g} s") from None


class Program:
    """A program that keeps running, its output in a log that a failed scenario shows."""

    def __init__(self, name, *command, stdin=subprocess.DEVNULL, **options):
        LOGS.mkdir(parents=True, exist_ok=True)
        self.name = name
        self.log = LOGS / f"{name}.log"
        with open(self.log, "ab") as output:
            self.process = subprocess.Popen(command, stdin=stdin, stdout=options.pop("stdout", output), stderr=output,
                                            **options)

    @property
    def pid(self):
        return self.process.pid

    def runs(self):
        return self.process.poll() is None

    def text(self):
        return self.log.read_text(errors="replace")

    def wait_for_text(self, text, timeout=20.0):
        def said():
            check(self.runs() or text in self.text(), f"{self.name} ended with status {self.process.returncode}: "
                                                      f"{self.text()[-500:]}")
            return text in self.text()
        wait_for(said, f"{self.name} to say {text!r}", timeout)

    def kill(self):
        """As SIGKILL does: nothing can be put in order."""
        self.process.kill()
        self.process.wait(STOP_SECONDS)

    def stop(self, number=signal.SIGTERM):
        if self.runs():
            self.process.send_signal(number)
            try:
                self.process.wait(STOP_SECONDS)
            except subprocess.TimeoutExpired:
                self.kill()


class Dialogue(Program):
    """A program that is spoken to in lines; its answers are kept with the time when they came."""

    def __init__(self, name, *command, **options):
        super().__init__(name, *command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1,
                         errors="replace", **options)
        self._heard = []  # (time, line), guarded by _changed
        self._changed = threading.Condition()
        self._ended = False
        self._read = 0  # how many lines hear() has consumed
        self._reader = threading.Thread(target=self._listen, daemon=True)
        self._reader.start()

    def tell(self, line):
        self._note(f"< {line}")
        try:
            self.process.stdin.write(line + "\n")
            self.process.stdin.flush()
        except BrokenPipeError:
            raise Failed(f"{self.name} has ended and cannot be told {line!r}") from None

    def hear(self, matches, what, timeout=20.0):
        """The next line for which matches(line) holds, past those that were heard before. Others are skipped."""
        end = time.monotonic() + timeout
        with self._changed:
            while True:
                while self._read < len(self._heard):
                    self._read += 1
                    if matches(self._heard[self._read - 1][1]):
                        return self._heard[self._read - 1][1]
                left = end - time.monotonic()
                if self._ended or left <= 0:
                    raise Failed(f"{self.name} {'ended' if self._ended else f'was silent for {timeout:g} s'} before it "
                                 f"said {what}; its last lines: {[line for _, line in self._heard[-5:]]}")
                self._changed.wait(left)

    def heard(self):
        with self._changed:
            return [line for _, line in self._heard]

    def end_of_input(self):
        try:
            self.process.stdin.close()
        except BrokenPipeError:
            pass

    def _listen(self):
        for line in self.process.stdout:
            self._note(f"> {line.rstrip()}")
            with self._changed:
                self._heard.append((time.monotonic(), line.rstrip("\n")))
                self._changed.notify_all()
        with self._changed:
            self._ended = True
            self._changed.notify_all()

    def _note(self, line):
        with open(self.log, "a") as log:
            print(f"{time.monotonic():9.3f} {line}", file=log)


def alive(pid):
    """Whether the process exists and has not ended, whoever its parent is."""
    try:
        return Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()[0] != "Z"
    except OSError:
        return False


def processes(name):
    """The ids of the processes of a program, by the name of its file."""
    found = []
    for entry in Path("/proc").iterdir():
        if entry.name.isdigit() and alive(entry.name):
            try:
                if os.path.basename(os.readlink(entry / "exe")) == name:
                    found.append(int(entry.name))
            except OSError:
                continue
    return found
