"""Every frame that was sent is in the files, in order and byte for byte, whatever the rotation."""
import collections
import json
import subprocess

import driving
from driving import Capture, number_of, numbered, packets_counted_by_capinfos, records

COUNT = 200_000
RATE = 50_000
SIZE = 300


class Order(Capture):
    def capture(self, count=COUNT, rate=RATE, size=SIZE, **settings):
        self.settings(**settings)
        self.begin()
        self.start()
        self.send(count, rate, size)
        return self.stop()

    def assert_all_there(self, paths, count=COUNT, size=SIZE):
        expected = 0
        for path in paths:
            for captured, length, frame in records(path):
                self.assertEqual((captured, length), (size, size))
                if frame != numbered(expected, size):
                    self.fail(f"{path}: frame {number_of(frame)} where {expected} should be, or altered")
                expected += 1
        self.assertEqual(expected, count)
        self.assertEqual(packets_counted_by_capinfos(paths), count)

    def assert_tshark_accepts(self, path):
        # The first of each field: some of the bodies look like a frame inside the frame.
        done = subprocess.run(["tshark", "-n", "-o", "wlan.check_checksum:TRUE", "-r", path, "-T", "fields", "-E",
                               "occurrence=f", "-e", "radiotap.flags.fcs", "-e", "wlan.fc.type_subtype", "-e", "wlan.fcs.status"],
                              capture_output=True, text=True, check=True)
        rows = collections.Counter(done.stdout.splitlines())
        self.assertEqual(rows, {"1\t0x0028\t1": COUNT}, "QoS data with a good check sequence, all of them")

    def test_one_file(self):
        self.assertEqual(self.capture(), (COUNT, 0))
        self.assert_all_there(self.files())
        self.assertEqual(len(self.files()), 1)
        self.assert_tshark_accepts(self.files()[0])

    def test_rotation_by_size(self):
        self.capture(LimitCaptureFile=1, LimitCaptureFileValue=8, LimitCaptureFileUnits=1, MaxCaptureFiles=100)
        paths = self.files()
        self.assert_all_there(paths)
        frames = -(-8 * 1048576 // (SIZE + 24))
        self.assertEqual([sum(1 for _ in records(path)) for path in paths[:-1]], [frames] * (len(paths) - 1))
        self.assertGreater(len(paths), 5)

    def test_rotation_by_frames(self):
        self.capture(LimitCaptureFile=1, LimitCaptureFileValue=7000, LimitCaptureFileUnits=4, MaxCaptureFiles=1000)
        paths = self.files()
        self.assert_all_there(paths)
        self.assertEqual([sum(1 for _ in records(path)) for path in paths], [7000] * 28 + [4000])

    def test_rotation_by_time(self):
        """Real seconds: a second is the shortest limit, and the frames take four."""
        self.capture(LimitCaptureFile=1, LimitCaptureFileValue=1, LimitCaptureFileUnits=2, MaxCaptureFiles=1000)
        self.assert_all_there(self.files())
        self.assertGreaterEqual(len(self.files()), 4)

    def test_rotation_keeps_the_newest(self):
        frames, _ = self.capture(count=10_000, LimitCaptureFile=1, LimitCaptureFileValue=1000,
                                 LimitCaptureFileUnits=4, MaxCaptureFiles=3)
        paths = self.files()
        self.assertEqual([path.name[-8:] for path in paths], ["003.pcap", "002.pcap", "001.pcap"])
        kept = [number_of(frame) for path in paths for _, _, frame in records(path)]
        self.assertEqual(kept, list(range(7000, 10_000)))
        self.assertEqual(frames, 3000)

    def test_slicing(self):
        self.capture(EnableAdaptivePacketSlicing=1)
        (path,) = self.files()
        expected = 0
        for captured, length, frame in records(path):
            self.assertEqual((captured, length), (9 + 26, SIZE), "cut to the header, full length kept")
            self.assertEqual(frame, numbered(expected, SIZE)[:35])
            expected += 1
        self.assertEqual(expected, COUNT)
        self.assertEqual(packets_counted_by_capinfos([path]), COUNT)

    def test_slicing_switched_on_by_another_program_during_the_capture(self):
        self.settings()
        self.begin()
        self.start()
        self.send(1000, 10_000)
        path = self.folder / "config" / "vantrel" / "settings.json"
        values = json.loads(path.read_text())
        path.write_text(json.dumps({**values, "EnableAdaptivePacketSlicing": 1}))
        self.send(1000, 10_000)
        self.stop()
        lengths = [captured for captured, _, _ in records(self.files()[0])]
        self.assertEqual(len(lengths), 2000)
        # The last tenth of a second of each half may still stand in the kernel's buffer when the next thing happens.
        whole = lengths.index(35)
        self.assertGreater(whole, 0)
        self.assertEqual(lengths, [SIZE] * whole + [35] * (2000 - whole))

    def test_a_million_at_full_speed(self):
        count = 1_000_000
        frames, dropped = self.capture(count=count, rate=0)
        (path,) = self.files()
        last, held = -1, 0
        for _, _, frame in records(path):
            number = number_of(frame)
            self.assertGreater(number, last, "out of order")
            last = number
            held += 1
        self.assertEqual(held, frames)
        self.assertEqual(held + dropped, count, "frames were lost that nobody counted")
        print(f"a million frames at full speed: {held} captured, {dropped} dropped by the kernel")

    def test_two_captures_one_after_the_other(self):
        self.settings()
        self.begin()
        for round_ in (1, 2):
            self.start()
            self.send(5000, RATE)
            self.assertEqual(self.stop(), (5000, 0))
            self.assertEqual(len(self.files()), round_)
        numbers = [number_of(frame) for path in self.files() for _, _, frame in records(path)]
        self.assertEqual(numbers, list(range(10_000)))


if __name__ == "__main__":
    driving.main()
