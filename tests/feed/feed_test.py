"""vantrel-feed against a server on the loopback address: what it prints, and how it ends.

    feed_test.py PATH_OF_VANTREL_FEED [unittest arguments]
"""
import json
import os
import pathlib
import re
import shlex
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

from feed_server import (ENDED, FAILED, LIMIT, NOT_SERVED, WRONG_USE, beacon, element, radiotap, record, run, sending,
                         serving, until_closed, with_check_sequence)

FEED = ""

RSN = element(48, b"\1\0\0\x0f\xac\4\1\0\0\x0f\xac\4\1\0\0\x0f\xac\2\0\0")
SWEEP = [beacon(1, b"one", signal=-70), beacon(2, b"two", RSN, 0x0011, signal=-40), beacon(3, b"", signal=-55)]


def feed(serve, *arguments, environment=None):
    with serving(serve) as server:
        return run(FEED, "--port", str(server.port), *arguments, environment=environment)


def stream(frames):
    return b"".join(record(frame) for frame in frames)


def peak_memory(process):
    """The most that the process has had in memory, in KiB."""
    status = pathlib.Path(f"/proc/{process.pid}/status").read_text(encoding="ascii")
    return int(next(line.split()[1] for line in status.splitlines() if line.startswith("VmHWM:")))


class JsonLines(unittest.TestCase):
    def objects(self, done):
        self.assertEqual(done.stderr, b"")
        self.assertEqual(done.returncode, ENDED)
        return [json.loads(line) for line in done.stdout.splitlines()]

    def test_one_object_a_record(self):
        one, two, three = self.objects(feed(sending(stream(SWEEP)), "--json", "--once"))
        self.assertEqual(list(one), ["time", "sweep", "frame", "bssid", "ssid", "ssid_hex", "channel", "width",
                                     "frequency", "signal", "noise", "security", "country"])
        self.assertLess(abs(time.time() - time.mktime(time.strptime(one.pop("time")[:19], "%Y-%m-%dT%H:%M:%S"))
                            + time.timezone), 60)
        self.assertEqual(one, {"sweep": 1, "frame": "beacon", "bssid": "02:00:00:00:00:01", "ssid": "one",
                               "ssid_hex": "6f6e65", "channel": 6, "width": "20", "frequency": 2437, "signal": -70,
                               "noise": -95, "security": "Open", "country": None})
        self.assertEqual((two["security"], two["signal"]), ("WPA2", -40))
        self.assertEqual(three["ssid"], "")

    def test_every_byte_by_itself(self):
        def serve(client):
            for byte in stream(SWEEP):
                client.sendall(bytes([byte]))
            until_closed(client)
        self.assertEqual([each["ssid"] for each in self.objects(feed(serve, "--json", "--once"))], ["one", "two", ""])

    def test_a_network_that_comes_again_begins_the_next_sweep(self):
        frames = stream(SWEEP + SWEEP + SWEEP)
        heard = self.objects(feed(sending(frames), "--json", "--count", "2"))
        self.assertEqual([each["sweep"] for each in heard], [1, 1, 1, 2, 2, 2])

    def test_a_record_after_a_silence_begins_the_next_sweep(self):
        def serve(client):
            client.sendall(record(SWEEP[0]))
            time.sleep(1)  # the silence itself
            client.sendall(record(SWEEP[1]))
            until_closed(client)
        self.assertEqual([each["sweep"] for each in self.objects(feed(serve, "--json", "--count", "2"))], [1, 2])

    def test_control_characters_of_any_kind_are_escaped(self):
        name = b"\x1b[2J\xc2\x9b31m\xff\"\\"
        done = feed(sending(record(beacon(1, name))), "--json", "--once")
        self.assertTrue(all(byte >= 0x20 or byte == 0x0A for byte in done.stdout))
        self.assertNotIn(b"\xc2\x9b", done.stdout)
        only, = self.objects(done)
        self.assertEqual(only["ssid"], "\x1b[2J\x9b31m\ufffd\"\\")
        self.assertEqual(bytes.fromhex(only["ssid_hex"]), name)

    def test_records_that_are_no_beacons_are_left_out_and_counted(self):
        spoilt = bytearray(SWEEP[1])
        spoilt[-1] ^= 1
        bad = [b"", b"\0", os.urandom(300), bytes(spoilt), with_check_sequence(radiotap(), b"\x40\0" + bytes(50))]
        done = feed(sending(stream([SWEEP[0], *bad, SWEEP[2]])), "--json", "--once")
        self.assertEqual(done.stderr, b"vantrel-feed: records that were no whole beacon or probe response: 5\n")
        self.assertEqual(len(done.stdout.splitlines()), 2)

    def test_lines_come_as_soon_as_they_are_there(self):
        with serving(sending(record(SWEEP[0]))) as server:
            with subprocess.Popen([FEED, "--json", "--port", str(server.port)], stdout=subprocess.PIPE) as process:
                self.assertEqual(json.loads(process.stdout.readline())["ssid"], "one")
                process.terminate()
                self.assertEqual(process.wait(LIMIT), ENDED)


class PrintedTable(unittest.TestCase):
    ONCE = ["BSSID              SSID                               CH  WIDTH  SIGNAL  NOISE  SECURITY"
            "                                  SEEN",
            "02:00:00:00:00:02  two                                 6     20     -40    -95  WPA2"
            "                                       now",
            "02:00:00:00:00:03  (hidden)                            6     20     -55    -95  Open"
            "                                       now",
            "02:00:00:00:00:01  one                                 6     20     -70    -95  Open"
            "                                       now"]

    def test_once(self):
        done = feed(sending(stream(SWEEP)), "--once")
        self.assertEqual(done.stdout.decode().splitlines(), self.ONCE)
        self.assertEqual((done.returncode, done.stderr), (ENDED, b""))

    def test_a_table_a_sweep(self):
        done = feed(sending(stream(SWEEP * 3)), "--count", "3")
        self.assertEqual(done.stdout.decode().split("\n\n"),
                         ["\n".join(self.ONCE), "\n".join(self.ONCE), "\n".join(self.ONCE) + "\n"])

    def test_sorted_by_name(self):
        lines = feed(sending(stream(SWEEP)), "--once", "--sort", "ssid").stdout.decode().splitlines()
        self.assertEqual([line[19:27].strip() for line in lines], ["SSID", "one", "two", "(hidden)"])

    def test_names_are_escaped(self):
        done = feed(sending(record(beacon(1, b"\x1b]0;x\x07\xc2\x9bm\xff"))), "--once")
        self.assertIn(rb"  \x1b]0;x\x07\xc2\x9bm\xff  ", done.stdout)

    def test_in_a_locale_without_utf8(self):
        done = feed(sending(record(beacon(1, "Café".encode()))), "--once", environment={"LC_ALL": "C"})
        self.assertIn(rb"  Caf\xc3\xa9  ", done.stdout)
        self.assertEqual(done.stderr, b"")
        done = feed(sending(record(beacon(1, "Café".encode()))), "--once", environment={"LC_ALL": "C.UTF-8"})
        self.assertIn("  Café  ".encode(), done.stdout)


class PcapStream(unittest.TestCase):
    def test_frames_byte_for_byte(self):
        frames = SWEEP + [b"", b"x", os.urandom(100)]
        done = feed(sending(stream(frames), stay=False), "--pcap")
        self.assertEqual(struct.unpack("=IHHiIII", done.stdout[:24]), (0xA1B2C3D4, 2, 4, 0, 0, 262144, 127))
        at, read = 24, []
        while at < len(done.stdout):
            seconds, _, captured, length = struct.unpack_from("=IIII", done.stdout, at)
            self.assertEqual(captured, length)
            self.assertLess(abs(time.time() - seconds), 60)
            read.append(done.stdout[at + 16:at + 16 + captured])
            at += 16 + captured
        self.assertEqual(read, frames)

    def test_tshark_and_capinfos_read_it(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "feed.pcap")
            with open(path, "wb") as out:
                out.write(feed(sending(stream(SWEEP)), "--pcap", "--once").stdout)
            told = subprocess.run(["capinfos", "-t", "-E", "-c", path], capture_output=True, text=True,
                                  check=True).stdout
        self.assertRegex(told, r"File type: +Wireshark/tcpdump/\.\.\. - pcap\n")
        self.assertRegex(told, r"File encapsulation: +IEEE 802.11 plus radiotap radio header\n")
        self.assertRegex(told, r"Number of packets: +3\n")

    def test_live_into_tshark(self):
        with serving(sending(stream(SWEEP))) as server:
            line = f"set -o pipefail; {shlex.quote(FEED)} --port {server.port} --pcap --once | " \
                   "tshark -r - -T fields -e wlan.bssid -e wlan.fc.type_subtype"
            done = subprocess.run(["bash", "-c", line], capture_output=True, text=True, timeout=60, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual([line.split("\t")[0] for line in done.stdout.splitlines()],
                         ["02:00:00:00:00:01", "02:00:00:00:00:02", "02:00:00:00:00:03"])

    def test_the_header_comes_before_the_first_frame(self):
        with serving(sending()) as server:
            with subprocess.Popen([FEED, "--pcap", "--port", str(server.port)], stdout=subprocess.PIPE) as process:
                self.assertEqual(len(process.stdout.read(24)), 24)
                process.terminate()
                self.assertEqual(process.wait(LIMIT), ENDED)


class Ends(unittest.TestCase):
    def check(self, done, status, text):
        self.assertEqual((done.returncode, done.stderr.decode()), (status, f"vantrel-feed: {text}\n" if text else ""))

    def test_nobody_listens(self):
        with socket.create_server(("127.0.0.1", 0)) as free:
            port = free.getsockname()[1]
        self.check(run(FEED, "--port", str(port)), NOT_SERVED, f"nobody listens on port {port}")

    def test_another_client_is_served(self):
        self.check(feed(sending(stay=False), "--json"), NOT_SERVED,
                   "the service closed the connection without sending anything: it serves another client, or Vantrel "
                   "captures itself")

    def test_reset_at_once(self):
        def serve(client):
            client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.assertEqual(feed(serve, "--json").returncode, NOT_SERVED)

    def test_reset_in_the_middle(self):
        shown = threading.Event()

        def serve(client):
            client.sendall(stream(SWEEP))
            self.assertTrue(shown.wait(LIMIT))
            client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        with serving(serve) as server, subprocess.Popen([FEED, "--json", "--port", str(server.port)],
                                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
            self.assertTrue(process.stdout.readline())
            shown.set()
            told = process.communicate(timeout=LIMIT)[1]
        self.assertEqual((process.returncode, told.decode()),
                         (FAILED, "vantrel-feed: the service ended the connection\n"))

    def test_the_disk_of_the_output_is_full(self):
        for arguments in (["--json"], ["--pcap"], []):
            with self.subTest(arguments=arguments), serving(sending(stream(SWEEP))) as server, \
                    open("/dev/full", "wb") as full:
                done = subprocess.run([FEED, "--once", "--port", str(server.port), *arguments], stdout=full,
                                      stderr=subprocess.PIPE, timeout=LIMIT, check=False)
                self.assertEqual((done.returncode, done.stderr.decode()),
                                 (FAILED, "vantrel-feed: write: No space left on device\n"))

    def test_the_service_ends(self):
        done = feed(sending(stream(SWEEP), stay=False))
        self.check(done, FAILED, "the service ended the connection")
        self.assertEqual(done.stdout.decode().splitlines(), PrintedTable.ONCE)

    def test_the_service_ends_within_a_record(self):
        whole = record(SWEEP[0])
        for size in (1, 3, 4, 5, len(whole) - 1):
            with self.subTest(size=size):
                done = feed(sending(whole + whole[:size], stay=False), "--json")
                self.check(done, FAILED, "the service ended the connection in the middle of a record")
                self.assertEqual(len(done.stdout.splitlines()), 1)

    def test_hostile_lengths(self):
        for length in (262145, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF):
            with self.subTest(length=length), serving(sending(record(SWEEP[0]) + struct.pack(">I", length))) as server:
                self.check(run(FEED, "--json", "--port", str(server.port)), FAILED,
                           f"what listens on port {server.port} does not speak the feed's protocol: it announced a "
                           f"record of {length} bytes")

    def test_the_longest_record_is_waited_for(self):
        done = feed(sending(struct.pack(">I", 262144) + bytes(262144) + record(SWEEP[0])), "--json", "--once")
        self.check(done, ENDED, "records that were no whole beacon or probe response: 1")

    def test_the_reader_of_the_output_leaves(self):
        def serve(client):
            for _ in range(10 ** 6):
                client.sendall(stream(SWEEP))
        for arguments in ("--json", "--pcap", ""):
            with self.subTest(arguments=arguments), serving(serve) as server:
                done = subprocess.run(
                    ["bash", "-c", f"{shlex.quote(FEED)} --port {server.port} {arguments} | head -1 | wc -l; "
                                   "echo ${PIPESTATUS[@]}"], capture_output=True, text=True, timeout=LIMIT, check=True)
                self.assertEqual((done.stdout, done.stderr), ("1\n0 0 0\n", ""))

    def test_a_full_disk(self):
        with serving(sending(stream(SWEEP))) as server, open("/dev/full", "wb") as full:
            done = subprocess.run([FEED, "--port", str(server.port), "--json"], stdout=full, stderr=subprocess.PIPE,
                                  timeout=LIMIT, check=False)
        self.check(done, FAILED, "write: No space left on device")

    def test_each_signal(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT):
            with self.subTest(signal=number), serving(sending(stream(SWEEP))) as server:
                with subprocess.Popen([FEED, "--json", "--port", str(server.port)], stdout=subprocess.PIPE) as process:
                    process.stdout.readline()
                    process.send_signal(number)
                    self.assertEqual(process.wait(LIMIT), ENDED)

    def test_a_reader_that_does_not_read_does_not_hold_up_the_end(self):
        self.flood(reads=False)

    def test_a_flood_of_ever_new_networks_costs_a_bounded_memory(self):
        self.flood(reads=True)

    def flood(self, reads):
        sent = 0

        def serve(client):
            nonlocal sent
            while True:
                client.sendall(b"".join(record(beacon(sent + number, b"\xff" * 32)) for number in range(1000)))
                sent += 1000
        with serving(serve) as server, open(os.devnull, "wb") as null:
            arguments = [] if reads else ["--json"]
            with subprocess.Popen([FEED, "--port", str(server.port), *arguments],
                                  stdout=null if reads else subprocess.PIPE) as process:
                last, limit = -1, time.monotonic() + LIMIT
                # Until so much has come that the table must have been emptied, or nothing more is taken from the server.
                while sent < 60000 and (reads or sent != last) and time.monotonic() < limit:
                    last = sent
                    time.sleep(0.5)
                peak = peak_memory(process)
                process.terminate()
                self.assertEqual(process.wait(5), ENDED)
        if reads:
            self.assertGreaterEqual(sent, 60000)
        else:
            self.assertLess(sent, 60000)
        self.assertLess(peak, 80 * 1024)


class WrongUse(unittest.TestCase):
    def test_exit_status_and_hint(self):
        for arguments in (["--bogus"], ["-x"], ["--port"], ["--port", "0"], ["--json", "--pcap"], ["more"]):
            with self.subTest(arguments=arguments):
                done = run(FEED, *arguments)
                self.assertEqual((done.returncode, done.stdout), (WRONG_USE, b""))
                self.assertRegex(done.stderr.decode(), r"\Avantrel-feed: .+\nTry 'vantrel-feed --help'\.\n\Z")

    def test_help_and_version_ask_for_nothing_else(self):
        self.assertRegex(run(FEED, "--help").stdout.decode(), r"\Ausage: vantrel-feed \[options\]\n")
        self.assertRegex(run(FEED, "--version").stdout.decode(), r"\Avantrel-feed \d+\.\d+\.\d+\n\Z")


class ManPage(unittest.TestCase):
    PAGE = pathlib.Path(__file__).parents[2] / "tools/man/vantrel-feed.1"

    def test_is_well_formed(self):
        done = subprocess.run(["man", "--warnings", "-l", self.PAGE], capture_output=True, timeout=LIMIT, check=True,
                              env={"LC_ALL": "C.UTF-8", "PATH": os.environ["PATH"]})
        self.assertEqual(done.stderr, b"")
        self.assertIn("vantrel-feed — show the Wi-Fi networks", done.stdout.decode())

    def test_tells_of_the_options_that_there_are(self):
        page = re.findall(r"^\.It Fl Fl (\w+)", self.PAGE.read_text(encoding="ascii"), re.MULTILINE)
        self.assertEqual(page, re.findall(r"^  --(\w+)", run(FEED, "--help").stdout.decode(), re.MULTILINE))


if __name__ == "__main__":
    FEED = sys.argv.pop(1)
    unittest.main()
