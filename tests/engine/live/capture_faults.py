"""What goes wrong outside: killed, out of disk, without its device, told to stop on a silent channel."""
import os
import signal
import subprocess
import time

import driving
from driving import Capture, number_of, numbered, packets_counted_by_capinfos, records

WRITE_ALERT = "alert The capture was stopped because its file cannot be written. | "
EMPTY_ALERT = ("alert No frames were captured. | Make sure you set the correct Link-Layer Header type before starting "
               "a capture.")


class Faults(Capture):
    def test_a_killed_program_leaves_all_but_the_last_second(self):
        """Real time: the file is flushed once a second, and that is what is measured."""
        self.settings()
        self.begin()
        self.start()
        self.generator.tell("send 40000 10000")
        time.sleep(3.0)  # frames flow for four seconds; the blow falls in the middle of it
        self.session.process.send_signal(signal.SIGKILL)
        self.session.process.wait()
        self.generator.hear()
        (path,) = self.files()
        content = path.read_bytes()
        whole = []
        with self.assertRaises(AssertionError) if _ends_inside_a_record(content) else _nothing():
            for _, _, frame in records(path):
                whole.append(frame)
        for expected, frame in enumerate(whole):
            self.assertEqual(frame, numbered(expected, 300))
        self.assertGreaterEqual(len(whole), 30_000 - 10_000 - 2_000, "more than the last second is missing")
        done = subprocess.run(["capinfos", path], capture_output=True, text=True, check=False)
        self.assertIn("Number of packets", done.stdout)

    def test_a_full_disk_ends_the_capture_and_keeps_whole_records(self):
        small = self.folder / f"vantrel-{os.geteuid()}"
        small.mkdir(mode=0o700)
        if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=2m,mode=0700", "tmpfs", small], check=False,
                          capture_output=True).returncode != 0:
            driving.skip("mounting a small file system needs CAP_SYS_ADMIN")
        self.addCleanup(subprocess.run, ["umount", "-l", small], check=False)
        self.settings()
        self.begin()
        self.start()
        self.generator.tell("send 20000 20000")
        alert = self.session.hear()
        self.assertTrue(alert.startswith(WRITE_ALERT + str(small)), alert)
        self.assertIn(": No space left on device. The ", alert)
        frames = int(self.session.hear().split()[1])
        self.generator.hear()
        self.assertIn(f"The {frames} frames written before that are kept.", alert)
        (path,) = self.files()
        held = [frame for _, _, frame in records(path)]
        self.assertEqual(len(held), frames)
        self.assertEqual(held[-1], numbered(frames - 1, 300))
        self.assertGreater(path.stat().st_size, 2 * 1048576 - 8192, "there was room for more records")

    def test_a_deleted_device_ends_the_capture_and_keeps_its_frames(self):
        self.settings()
        self.begin()
        self.start()
        self.send(5000, 50_000)
        self.assertEqual(self.generator.ask("delete"), "deleted")
        self.assertEqual(self.session.hear(), "idle 5000 0")
        self.assertEqual(packets_counted_by_capinfos(self.files()), 5000)

    def test_stop_on_a_silent_channel_returns_at_once(self):
        self.settings()
        self.begin()
        self.start()
        asked = time.monotonic()
        self.session.tell("stop")
        self.assertEqual(self.session.hear(), EMPTY_ALERT)
        self.assertEqual(self.session.hear(), "idle 0 0")
        self.assertLess(time.monotonic() - asked, 0.3)
        self.assertEqual(self.files(), [])

    def test_cancel_leaves_nothing_behind(self):
        self.settings(LimitCaptureFile=1, LimitCaptureFileValue=500, LimitCaptureFileUnits=4, MaxCaptureFiles=5)
        self.begin()
        self.start()
        self.send(3200, 50_000)
        self.assertEqual(len(list(self.destination.iterdir())), 1, "files were gathered before")
        self.assertRegex(self.session.ask("cancel"), "^idle ")
        self.assertEqual(list(self.destination.iterdir()), [])
        self.assertEqual(list(self.temporary.iterdir()), [])

    def test_a_missing_temporary_folder_is_made_again(self):
        self.settings()
        self.begin()
        self.start()
        self.session.tell("stop")
        self.session.hear()
        self.session.hear()
        self.temporary.rmdir()
        self.start()
        self.send(100, 10_000)
        self.assertEqual(self.stop(), (100, 0))
        self.assertEqual(self.temporary.stat().st_mode & 0o7777, 0o700)

    def test_a_planted_link_is_not_followed(self):
        target = self.folder / "target"
        target.mkdir()
        self.temporary.symlink_to(target)
        self.settings()
        self.begin()
        self.start()
        self.send(100, 10_000)
        self.assertEqual(self.stop(), (100, 0))
        self.assertEqual(list(target.iterdir()), [])
        self.assertTrue((self.folder / "cache" / "vantrel" / "captures").is_dir(), "written elsewhere")
        (path,) = self.destination.glob("*.pcap")
        self.assertEqual([number_of(frame) for _, _, frame in records(path)], list(range(100)))
        self.assertEqual(path.stat().st_mode & 0o7777, 0o600)

    def test_the_end_of_input_stops_and_keeps(self):
        self.settings()
        self.begin()
        self.start()
        self.send(100, 10_000)
        self.session.tell("quit")
        self.session.process.wait()
        self.assertEqual(self.session.process.returncode, 0)
        self.assertEqual(packets_counted_by_capinfos(self.files()), 100)


def _ends_inside_a_record(content):
    at = 24
    while at + 16 <= len(content):
        at += 16 + int.from_bytes(content[at + 8:at + 12], "little")
    return at != len(content)


class _nothing:
    def __enter__(self):
        return self

    def __exit__(self, *_):
        return False


if __name__ == "__main__":
    driving.main()
