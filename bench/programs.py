"""Runs programs and tells what they cost: processor seconds as the kernel counted them, peak memory, wall clock."""
import os
import re
import select
import signal
import statistics
import subprocess
import time


class Failed(Exception):
    pass


class Program:
    """A program that was started and is spoken to in lines. Its time limit ends a hang."""

    def __init__(self, command, limit=120, **options):
        self.command = [str(word) for word in command]
        self.deadline = time.monotonic() + limit
        self.pending = b""
        self.spent = 0.0
        self.process = subprocess.Popen(self.command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, **options)

    def tell(self, line):
        self.process.stdin.write(line.encode() + b"\n")
        self.process.stdin.flush()

    def hear(self, pattern=""):
        """The next line that holds the pattern."""
        while True:
            while b"\n" not in self.pending:
                left = self.deadline - time.monotonic()
                if left <= 0 or not select.select([self.process.stdout], [], [], left)[0]:
                    self.process.kill()
                    raise Failed(f"{self.command[0]} said nothing in time")
                more = os.read(self.process.stdout.fileno(), 65536)
                if not more:
                    raise Failed(f"{' '.join(self.command)} ended: {self.pending.decode(errors='replace')}")
                self.pending += more
            line, self.pending = self.pending.split(b"\n", 1)
            if re.search(pattern, line.decode(errors="replace")):
                return line.decode(errors="replace")

    def peak_memory(self):
        """In MiB, so far. Not from wait4, which counts what the starting program held."""
        with open(f"/proc/{self.process.pid}/status") as status:
            return int(re.search(r"VmHWM:\s+(\d+)", status.read()).group(1)) / 1024

    def mark(self):
        """What was spent so far is not counted by end()."""
        with open(f"/proc/{self.process.pid}/stat") as stat:
            ticks = stat.read().rsplit(")", 1)[1].split()[11:13]
        self.spent = sum(map(int, ticks)) / os.sysconf("SC_CLK_TCK")

    def interrupt(self):
        self.process.send_signal(signal.SIGINT)

    def end(self):
        """Waits for the end, its input being closed; answers processor seconds since the mark and what it still said."""
        self.process.stdin.close()
        rest = self.pending + self.process.stdout.read()
        self.process.stdout.close()
        _, status, usage = os.wait4(self.process.pid, 0)
        self.process.returncode = os.waitstatus_to_exitcode(status)
        return usage.ru_utime + usage.ru_stime - self.spent, rest.decode(errors="replace")


def cost(command):
    """Wall clock and processor seconds of a program from start to end, and what it printed."""
    start = time.monotonic()
    program = Program(command, stderr=subprocess.STDOUT)
    cpu, output = program.end()
    wall = time.monotonic() - start
    if program.process.returncode != 0:
        raise Failed(f"{' '.join(program.command)} failed: {output}")
    return wall, cpu, output


def output_of(*command):
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    return done.stdout


def median(values):
    return statistics.median(values)


def table(head, rows):
    """A table of Markdown: the first column to the left, numbers to the right."""
    lines = ["| " + " | ".join(head) + " |", "|---" + "|---:" * (len(head) - 1) + "|"]
    return lines + ["| " + " | ".join(row) + " |" for row in rows]


def commands(lines):
    return ["```", *lines, "```"]
