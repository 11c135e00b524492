"""Each check of the soak fails when it should: on files and figures that are made for it."""
import collections
import os
import struct
import sys
import tempfile
import unittest
import zlib
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "desktop"))
import report  # noqa: E402
from arrivals import Sample, balance  # noqa: E402
from feed import count_sweeps  # noqa: E402
from frames import FILE_HEADER, FILE_START, LOAD_TRANSMITTER, SLICED, WHOLE, Capture  # noqa: E402
from watch import CaptureFiles  # noqa: E402

RATE = 1000
START = 1_700_000_000_000_000  # µs since 1970
HOME, OTHER, THIRD = 2412, 2417, 2422
PRESENT = 0x0000086f  # TSFT, flags, rate, channel, signal, noise, antenna


def load_frame(number, frequency, whole=False):
    """As the simulated radio makes it, to the last byte where it is whole."""
    radiotap = struct.pack("<BBHIQBBHHbbB", 0, 0, 25, PRESENT, number * 1_000_000 // RATE, 0x10, 108, frequency, 0x140,
                           -48, -94, 0)
    header = struct.pack("<HH", 0x4288, 44) + bytes(6) + LOAD_TRANSMITTER + bytes(6) + struct.pack(
        "<HH", (number & 0xfff) << 4, 0)
    packet_number = struct.pack("<Q", number)
    frame = header + packet_number[:2] + b"\0\x20" + packet_number[2:6] + bytes(range(200)) + bytes(8)
    frame += struct.pack("<I", zlib.crc32(frame))
    return (radiotap + frame)[:WHOLE if whole else SLICED]


def record(number, frequency=HOME, whole=False, late=0):
    frame = load_frame(number, frequency, whole)
    time = START + number * 1_000_000 // RATE + late
    return struct.pack("<IIII", time // 1_000_000, time % 1_000_000, len(frame), WHOLE) + frame


class Files(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.capture = Capture(RATE)

    def read(self, *records, marks=(), start=FILE_HEADER.pack(*FILE_START), cut=0):
        content = start + b"".join(records)
        path = self.folder / "a.pcap"
        path.write_bytes(content[:len(content) - cut])
        return self.capture.read(path, marks)

    def assert_found(self, found, **expected):
        kinds = ("holes", "missing", "backward", "time_back", "tsft_back", "altered", "torn", "pauses")
        self.assertEqual({name: getattr(found, name) for name in kinds},
                         {name: expected.get(name, 0) for name in kinds}, found.told)

    def test_a_good_capture(self):
        found = self.read(*(record(number) for number in range(10, 50)),
                          *(record(number, OTHER) for number in range(55, 90)))
        self.read(*(record(number, OTHER, whole=True) for number in range(90, 95)),
                  *(record(number, HOME) for number in range(99, 120)), *(record(number) for number in range(123, 130)))
        self.assert_found(found)
        self.assertEqual((found.files, found.records, found.load, found.sliced, found.hops, found.longest_hop),
                         (2, 108, 108, 103, 2, 6000))

    def test_a_missing_frame(self):
        self.assert_found(self.read(record(1), record(2), record(4), record(5)), holes=1, missing=1)

    def test_a_missing_frame_between_two_files(self):
        self.read(record(1), record(2))
        self.assert_found(self.read(record(4), record(5)), holes=1, missing=1)

    def test_many_missing_on_a_channel_that_is_not_the_first(self):
        found = self.read(record(1), record(5, OTHER), record(10, OTHER))
        self.assert_found(found, holes=1, missing=4)
        self.assertEqual(found.told, ["frames 6 to 9 are missing, on 2417 MHz"])

    def test_the_first_channel_may_be_tuned_once_more_and_not_twice(self):
        self.assert_found(self.read(record(1), record(5)))
        self.assert_found(self.read(record(10)), holes=1, missing=4)
        self.assert_found(self.read(record(20, OTHER), record(30), record(35)), holes=1, missing=4)

    def test_a_capture_that_does_not_hop_is_not_tuned_again(self):
        self.capture = Capture(RATE, hops=False)
        self.assert_found(self.read(record(1), record(5)), holes=1, missing=3)

    def test_a_radio_that_fell_behind(self):
        self.assert_found(self.read(record(1), record(5, OTHER), record(600, OTHER)), pauses=1)

    def test_a_doubled_frame(self):
        self.assert_found(self.read(record(1), record(2), record(2), record(3)), backward=1)

    def test_frames_in_the_wrong_order(self):
        found = self.read(record(1), record(3), record(2), record(4))
        self.assertEqual((found.backward, found.tsft_back, found.time_back), (1, 1, 1))

    def test_a_record_before_the_last_one(self):
        self.assert_found(self.read(record(1), record(2, late=5000), record(3)), time_back=1)

    def test_another_frame_in_its_place(self):
        content = bytearray(record(2))
        content[16 + 25 + 22] ^= 0x10  # the sequence number
        self.assert_found(self.read(record(1), bytes(content), record(3)), altered=1)

    def test_a_damaged_body(self):
        content = bytearray(record(2, whole=True))
        content[-50] ^= 1
        self.assert_found(self.read(record(1), bytes(content), record(3)), altered=1)

    def test_cut_at_the_wrong_place(self):
        frame = load_frame(2, HOME, whole=True)[:SLICED + 2]
        time = START + 2000
        content = struct.pack("<IIII", time // 1_000_000, time % 1_000_000, len(frame), WHOLE) + frame
        self.assert_found(self.read(record(1), content, record(3)), altered=1)

    def test_a_torn_file(self):
        self.assert_found(self.read(record(1), record(2), cut=5), torn=1)

    def test_no_capture_file(self):
        self.assert_found(self.read(start=bytes(24)), torn=1)
        self.assert_found(self.read(start=b""), torn=2)

    def test_records_up_to_a_time(self):
        found = self.read(*(record(number) for number in range(10)),
                          marks=[START - 1, START + 2000, START + 2500, START + 9000])
        self.assertEqual(found.marks, {START - 1: 0, START + 2000: 3, START + 2500: 3})
        self.read(record(10), marks=[START + 2000, START + 9000])
        self.assertEqual(found.marks[START + 9000], 10)


class Arrivals(unittest.TestCase):
    SAMPLES = [Sample(100, 101, 1050), Sample(200, 201, 2050), Sample(300, 301, 3050)]

    def test_what_was_left_out_before_is_no_loss(self):
        marks = {100: 1000, 101: 1001, 200: 2000, 201: 2003, 300: 3000, 301: 3001}
        self.assertEqual(balance(self.SAMPLES, marks), (0, 0, 7))

    def test_a_loss_on_the_way(self):
        marks = {100: 1000, 101: 1001, 200: 1900, 201: 1901, 300: 2900, 301: 2901}
        self.assertEqual(balance(self.SAMPLES, marks)[:2], (95, 0))

    def test_frames_that_never_arrived(self):
        marks = {100: 1000, 101: 1001, 200: 2100, 201: 2101, 300: 3100, 301: 3101}
        self.assertEqual(balance(self.SAMPLES, marks)[:2], (0, 95))

    def test_samples_that_the_records_do_not_reach(self):
        self.assertIsNone(balance(self.SAMPLES, {100: 1000, 101: 1001, 200: 2000}))


class Order(unittest.TestCase):
    def test_files_are_read_as_they_were_finished_whatever_their_names(self):
        folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        watched = CaptureFiles(RATE, True)
        self.addCleanup(watched.reader.shutdown)

        def finish(name, first):
            path = folder / name
            path.write_bytes(FILE_HEADER.pack(*FILE_START) + b"".join(map(record, range(first, first + 5))))
            os.utime(path, ns=(first, first))
        finish("a.003.pcap", 1)
        finish("a.002.pcap", 6)
        watched.collect(folder)
        (folder / "a.003.pcap").unlink()
        (folder / "a.002.pcap").rename(folder / "a.003.pcap")
        finish("a.001.pcap", 16)
        finish("a.002.pcap", 11)
        watched.collect(folder)
        found = watched.end()
        self.assertEqual((found.files, found.load, found.missing, found.backward), (4, 20, 0, 0), found.told)


class Figures(unittest.TestCase):
    def verdicts(self, figures):
        return {figure.name: figure.verdict for figure in figures}

    def frames(self, told=0, balanced=(0, 0, 5), **faults):
        findings = Capture(RATE).findings
        findings.records = findings.load = 1000
        findings.started, findings.ended = START, START + 1_000_000
        for name, value in faults.items():
            setattr(findings, name, value)
        return self.verdicts(report.frames([(findings, balanced)], RATE, told))

    def test_a_good_run(self):
        self.assertEqual(set(self.frames().values()), {report.OK})

    def test_each_fault_fails(self):
        for name, what in {"missing": "lost within the files", "backward": "frames doubled or late",
                           "time_back": "record times going back", "tsft_back": "TSFT going back",
                           "altered": "frames altered", "torn": "files torn"}.items():
            self.assertEqual(self.frames(**{name: 1})[what], report.FAILED)

    def test_a_loss_by_the_devices_count(self):
        self.assertEqual(self.frames(balanced=(1, 0, 5))["lost by the device's own count"], report.FAILED)
        self.assertEqual(self.frames(balanced=(0, 1, 5))["lost by the device's own count"], report.FAILED)
        self.assertEqual(self.frames(balanced=None)["lost by the device's own count"], report.NOTE)

    def test_a_loss_that_is_told_is_one_finding(self):
        found = self.frames(told=3, missing=3, balanced=(3, 0, 5))
        self.assertEqual([name for name, verdict in found.items() if verdict == report.FAILED],
                         ["told as lost by the program"])

    def test_a_capture_without_a_file(self):
        self.assertEqual(self.verdicts(report.frames([(None, None)], RATE, 0))["captures"], report.FAILED)

    def test_a_rate_that_was_not_reached_is_told(self):
        self.assertEqual(self.frames(load=900)["rate"], report.NOTE)

    def memory(self, values):
        rows = [(second, 1, 50_000 + value) for second, value in enumerate(values)]
        figure, = report.memory(rows, {"m": 2})
        return figure.verdict

    def test_memory(self):
        self.assertEqual(self.memory(300 * [0]), report.OK)
        self.assertEqual(self.memory([10 * second for second in range(300)]), report.FAILED)
        self.assertEqual(self.memory([600 * (second // 60) for second in range(300)]), report.FAILED)
        self.assertEqual(self.memory(100 * [0]), report.NOTE)

    def test_memory_that_jumps_once(self):
        self.assertEqual(self.memory(200 * [0] + 200 * [15_000]), report.OK)
        self.assertEqual(self.memory(200 * [0] + 200 * [25_000]), report.FAILED)

    def test_memory_of_the_first_minute_and_of_starting_captures_is_left_out(self):
        rows = [(second, int(second % 60 > 3), 90_000 if second < 60 or second % 60 < 9 else 50_000)
                for second in range(300)]
        self.assertEqual(self.verdicts(report.memory(rows, {"m": 2})), {"m": report.OK})
        self.assertEqual({value for _, value in report.settled_points(rows, 2)}, {50_000})

    def test_something_left_over(self):
        before = collections.Counter({"descriptor socket": 3, "thread hop": 1})
        self.assertEqual(report.left_over("n", before, before).verdict, report.OK)
        figure = report.left_over("n", before, before + collections.Counter({"thread hop": 2}))
        self.assertEqual(figure.verdict, report.FAILED)
        self.assertIn("2 more: thread hop; descriptors 3 before and 3 after, threads 1 and 3", figure.text)

    def test_answers(self):
        def verdict(times):
            figure, = report.answers({"menu": times})
            return figure.verdict
        self.assertEqual(verdict(200 * [5.0]), report.OK)
        self.assertEqual(verdict(180 * [5.0] + 20 * [150.0]), report.FAILED)
        self.assertEqual(verdict(199 * [5.0] + [1500.0]), report.FAILED)
        self.assertEqual(verdict([]), report.FAILED)


class Feed(unittest.TestCase):
    LINE = '{{"sweep":{},"bssid":"{}"}}\n'

    def lines(self, *records):
        return "".join(self.LINE.format(*record) for record in records)

    def test_sweeps(self):
        text = self.lines((1, "a"), (1, "b"), (2, "a"))
        self.assertEqual(count_sweeps(text + '{"sweep":2,"bss'), (2, 3, []))

    def test_a_sweep_that_is_missing(self):
        self.assertEqual(count_sweeps(self.lines((1, "a"), (3, "a")))[2], ["sweep 3 after 1"])

    def test_a_network_that_comes_twice(self):
        self.assertEqual(count_sweeps(self.lines((1, "a"), (1, "a")))[2], ["a comes twice in sweep 1"])

    def test_words_of_the_client(self):
        self.assertEqual(count_sweeps("cannot connect\n")[2], ["the client says: cannot connect"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
