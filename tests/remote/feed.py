"""The feed's host and its clients, as any program could talk to them."""
import contextlib
import json
import os
import select
import socket
import struct
import subprocess
import sys
import time
import unittest
import zlib

HOST = sys.argv[1]
MONITOR_CHANNEL = {"channel": 36, "width": 3}  # where the simulated adapter's own network is
USUAL_SWEEP = 36 * 0.12 + 1.5  # seconds: every channel for the usual dwell, and some for a busy machine


class Host:
    """The program that offers the feed on the simulated radio; spoken to in lines."""

    def __init__(self, *arguments, transport="stream", environment=None, log=None):
        environment = dict(environment or os.environ, VANTREL_RADIO_TRANSPORT=transport)
        self.process = subprocess.Popen([HOST, *arguments], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                                        env=environment, stderr=log)
        answer = self.hear()
        if not answer.startswith("port "):
            self.end()
            print(answer)
            sys.exit(77 if answer.startswith("error:") else 1)
        self.port = int(answer.split()[1])

    def hear(self):
        return self.process.stdout.readline().rstrip("\n")

    def ask(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        return self.hear()

    def state(self):
        return json.loads(self.ask("state"))

    def hops(self):
        return json.loads(self.ask("hops"))

    def await_state(self, seconds=20, **wanted):
        deadline = time.monotonic() + seconds
        while True:
            state = self.state()
            if all(state[key] == value for key, value in wanted.items()):
                return state
            if time.monotonic() > deadline:
                raise AssertionError(f"not {wanted} in time: {state}")
            time.sleep(0.02)  # the state is asked for; nothing announces it

    def processor_seconds(self):
        with open(f"/proc/{self.process.pid}/stat", encoding="ascii") as file:
            fields = file.read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def resident_kib(self):
        with open(f"/proc/{self.process.pid}/status", encoding="ascii") as file:
            return next(int(line.split()[1]) for line in file if line.startswith("VmRSS"))

    def end(self):
        """Has it end in the orderly way; what it said last."""
        if self.process.stdout.closed:
            return None
        with contextlib.suppress(BrokenPipeError):
            self.process.stdin.close()
        last = self.process.stdout.read().rstrip("\n")
        self.process.wait()
        self.process.stdout.close()
        return last


class Record:
    def __init__(self, data, when):
        self.data, self.when = data, when
        self.start = struct.unpack_from("<H", data, 2)[0]
        self.frame = data[self.start:-4]
        self.bssid = self.frame[16:22].hex(":")

    def is_sound(self):
        """A beacon or probe response of version 0 with the right check sequence behind a radiotap header."""
        return (self.data[0] == 0 and self.frame[0] in (0x80, 0x50)
                and struct.unpack("<I", self.data[-4:])[0] == zlib.crc32(self.frame))


class Client:
    def __init__(self, host, buffer=None):
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        if buffer:
            self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, buffer)
        try:
            self.socket.connect(("127.0.0.1", host.port))
        except OSError:
            self.socket.close()
            raise
        self.bytes = b""
        self.ended = False

    def read(self, seconds):
        """One more piece of the stream; False when none came in time, or none will."""
        if self.ended or not select.select([self.socket], [], [], max(seconds, 0))[0]:
            return False
        try:
            piece = self.socket.recv(65536)
        except ConnectionResetError:
            piece = b""
        self.ended = not piece
        self.bytes += piece
        return bool(piece)

    def take(self):
        """The first whole record that has arrived, or None."""
        if len(self.bytes) < 4:
            return None
        length = struct.unpack_from(">I", self.bytes)[0]
        if not 0 < length <= 2048:
            raise AssertionError(f"no length of a record: {length}")
        if len(self.bytes) < 4 + length:
            return None
        data, self.bytes = self.bytes[4:4 + length], self.bytes[4 + length:]
        return Record(data, time.monotonic())

    def record(self, seconds):
        deadline = time.monotonic() + seconds
        while (record := self.take()) is None:
            if not self.read(deadline - time.monotonic()):
                return None
        return record

    def sweep(self, seconds=USUAL_SWEEP):
        """The records that come together; waits for the first."""
        records = []
        record = self.record(seconds)
        while record:
            records.append(record)
            record = self.record(0.15)
        return records

    def is_closed(self, seconds=5):
        deadline = time.monotonic() + seconds
        while not self.ended and time.monotonic() < deadline:
            self.read(deadline - time.monotonic())
        return self.ended

    def close(self):
        self.socket.close()

    def reset(self):
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.socket.close()


class Feed(unittest.TestCase):
    transport = "stream"
    arguments = ()

    def setUp(self):
        self.host = Host(*self.arguments, transport=self.transport)
        self.addCleanup(self.host.end)

    def client(self, **options):
        client = Client(self.host, **options)
        self.addCleanup(client.close)
        return client

    def expect_adapter_back(self):
        self.host.await_state(mode=1, ssid="Vantrel Lab", connections=0, **MONITOR_CHANNEL)


def main():
    unittest.main(argv=sys.argv[:1], verbosity=2)
