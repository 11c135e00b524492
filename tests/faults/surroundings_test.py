"""What a capture stands on goes away: folders, the clock, the buses and what lives on them, the adapter."""
import os
import shutil
import signal
import subprocess
import sys
import time
from datetime import datetime

import faults
from application import CAPTURE, POLL_MS
from bus import wait_for
from faults import SAVE_FAILED, FaultTest, tap_of, whole_records

READ_ONLY = "Read-only file system"
GONE = "No such file or directory"
EVERY_SECOND = {"LimitCaptureFile": 1, "LimitCaptureFileUnits": 2, "LimitCaptureFileValue": 1, "MaxCaptureFiles": 9,
                "RotateCaptureFiles": 1}
HOUR = 3600
NAME_TIME = "vantrel_%Y-%m-%d_%I.%M.%S.%p"


class Surroundings(FaultTest):
    def setUp(self):
        super().setUp()
        self.clock = self.desktop.folder / "clock"
        self.clock.unlink(missing_ok=True)

    # Folders

    def test_destination_is_read_only(self):
        self.small_file_system(self.saved_captures, "8m")
        program, item = self.start_idle()
        path = self.capture(item)
        self.remount(self.saved_captures, "ro")
        self.stop(program, item)
        alert = self.desktop.alert(program)
        self.assertEqual(alert[0], SAVE_FAILED)
        self.assertIn(READ_ONLY, alert[1])
        self.desktop.press(program, "OK")
        self.assert_nothing_but(path.name)
        self.assertGreater(whole_records(path), 0)
        self.assert_at_rest(item)
        self.quit(program, item)
        self.remount(self.saved_captures, "rw")
        self.assert_next_start(path)

    def test_folder_of_unfinished_captures_is_read_only(self):
        """The other folder is used instead, and is not forgotten when the first can be written to again."""
        self.small_file_system(self.captures, "8m")
        self.remount(self.captures, "ro")
        program, item = self.start_idle()
        item.click(CAPTURE)
        other = self.desktop.folder / "cache/vantrel/captures"
        path = wait_for(lambda: next(other.glob("*.pcap"), None), "the capture in the other folder", poll_ms=POLL_MS)
        wait_for(lambda: path.stat().st_size > faults.FILE_HEADER, "frames in it", poll_ms=POLL_MS)
        program.kill()
        program.wait()
        self.addCleanup(shutil.rmtree, other)
        self.assertGreater(whole_records(path, torn_permitted=True), 0)
        self.assertIn("temporary folder refused: ", self.log())
        self.assertIn(READ_ONLY, self.log())
        self.remount(self.captures, "rw")
        self.assert_next_start(path)

    def test_destination_is_gone(self):
        place = self.desktop.folder / "home/captures"
        place.mkdir(exist_ok=True)
        self.store(CaptureFilesLocation=str(place))
        program, item = self.start_idle()
        path = self.capture(item)
        place.rmdir()
        self.stop(program, item)
        alert = self.desktop.alert(program)
        self.assertEqual(alert[0], SAVE_FAILED)
        self.assertIn(f"{GONE}. The capture file is kept as {path}", alert[1])
        self.desktop.press(program, "OK")
        self.assert_at_rest(item)
        self.quit(program, item)
        self.store()
        self.assert_next_start(path)

    def test_folder_of_unfinished_captures_is_gone(self):
        """What was in it is gone too, and that is told; the next capture makes the folder again."""
        program, item = self.start_idle()
        self.capture(item)
        shutil.rmtree(self.captures)
        self.stop(program, item)
        alert = self.desktop.alert(program)
        self.assertEqual(alert[0], SAVE_FAILED)
        self.assertIn(GONE, alert[1])
        self.desktop.press(program, "OK")
        self.assert_works_again(program, item)
        self.quit(program, item)

    # The clock of the day, which jumps for the program alone

    def start_with_clock(self):
        return self.start_idle(**self.shim("clock_fault", CLOCK=self.clock))

    def wrong_by(self, seconds):
        new = self.clock.with_suffix(".new")
        new.write_text(str(seconds))
        new.replace(self.clock)

    def test_an_hour_back_in_a_capture_that_rotates(self):
        self.store(**EVERY_SECOND)
        program, item = self.start_with_clock()
        item.click(CAPTURE)

        def gathered():
            return sorted(self.saved_captures.rglob("*.pcap"))
        wait_for(gathered, "the first file", poll_ms=POLL_MS)
        self.wrong_by(-HOUR)
        before = len(gathered())
        wait_for(lambda: len(gathered()) >= before + 2, "two more files", 10, POLL_MS)
        _title, texts = self.desktop.panel(program)
        self.assertRegex(texts[0], r"^File \d out of 9, frames: \d+ \(\d+ (bytes|KB)\)$")
        self.stop(program, item)
        wait_for(lambda: not list(self.captures.glob("*.pcap")), "the last file to be delivered", poll_ms=POLL_MS)
        self.assertTrue(all(whole_records(path) > 0 for path in gathered()))
        self.assert_at_rest(item)
        self.quit(program, item)

    def test_back_to_the_second_of_an_earlier_capture(self):
        """The later capture takes the name of the next second."""
        program, item = self.start_with_clock()
        first = self.capture(item)
        self.stop(program, item)
        first = self.saved(first)
        frames = whole_records(first)
        started = datetime.strptime(first.stem, NAME_TIME)
        while time.time() % 1 > 0.3:  # a clock can be waited for by nothing else
            time.sleep(0.01)
        self.wrong_by(int(started.timestamp()) - int(time.time()))
        again = self.capture(item)
        self.stop(program, item)
        again = self.saved(again)
        self.assertEqual((datetime.strptime(again.stem, NAME_TIME) - started).total_seconds(), 1)
        self.assertEqual(whole_records(first), frames)
        self.assertGreater(whole_records(again), 0)
        self.quit(program, item)

    # What else is there

    def test_the_tray_goes_in_a_capture_and_comes_back(self):
        program, item = self.start_idle()
        path = self.capture(item)
        self.desktop.stop_panel()
        size = path.stat().st_size
        wait_for(lambda: path.stat().st_size > size, "further frames", poll_ms=POLL_MS)
        self.desktop.start_panel()
        item = self.desktop.wait_for_item(program)
        item.wait_for_entry("Quit", enabled=False)
        self.stop(program, item)
        self.assertGreater(whole_records(self.saved(path)), 0)
        self.assert_works_again(program, item)
        self.quit(program, item)

    def test_the_device_goes_in_a_capture(self):
        program, item = self.start_idle(VANTREL_RADIO_TRANSPORT="")
        path = self.capture(item)
        device = tap_of(program)
        if device is None:
            self.skipTest("the simulated radio has no network device here")
        on_disk = whole_records(path, torn_permitted=True)
        subprocess.run(["ip", "link", "delete", device[0]], check=True)
        item.wait_for_entry("Quit")
        self.assertGreaterEqual(whole_records(self.saved(path)), on_disk)
        self.assertIn("pcap_loop() failed: ", self.log())
        self.assert_nothing_but()
        self.assert_at_rest(item)
        self.assert_works_again(program, item)
        self.quit(program, item)


class WithoutBus(FaultTest):
    def end_bus(self):
        """Ends the desktop's bus in a capture, and with it what tells of the tray and the windows; X11 is left."""
        program, item = self.start_idle()
        path = self.capture(item)
        self.desktop.panel(program)
        os.kill(self.desktop.bus.process_of("org.freedesktop.DBus"), signal.SIGKILL)
        size = path.stat().st_size
        wait_for(lambda: path.stat().st_size > size, "further frames", poll_ms=POLL_MS)
        return program, path


class Daemons(WithoutBus):
    """One desktop, from which one daemon goes after the other, in the order of the names."""

    def test_notification_server_goes_in_a_capture(self):
        """It has shown one notification before; the next thing is said by a window of our own."""
        program, item = self.start_idle()
        self.assert_works_again(program, item)
        self.wait_for_notification()
        path = self.capture(item)
        services = self.desktop.folder / "data/dbus-1/services"
        services.mkdir(parents=True)
        (services / "org.freedesktop.Notifications.service").write_text(
            "[D-BUS Service]\nName=org.freedesktop.Notifications\nExec=/bin/false\n")
        self.desktop.bus.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ReloadConfig")
        os.kill(self.desktop.bus.process_of("org.freedesktop.Notifications"), signal.SIGTERM)
        wait_for(lambda: not self.desktop.bus.has_owner("org.freedesktop.Notifications"), "the server to go",
                 poll_ms=POLL_MS)
        self.stop(program, item)
        path = self.saved(path)
        texts = self.desktop.windows.texts_in(self.desktop.window(program, "Vantrel"))
        self.assertEqual(texts[:2], ["Capture completed", path.name])
        self.assertGreater(whole_records(path), 0)
        self.quit(program, item)

    def test_session_bus_goes_in_a_capture_that_is_stopped(self):
        program, path = self.end_bus()
        self.desktop.type_at_window(program, "alt+s")
        self.assertGreater(whole_records(self.saved(path)), 0)
        program.send_signal(signal.SIGTERM)
        self.ends_in_order(program)
        self.assert_nothing_but()


class LogOut(WithoutBus):
    def test_session_bus_goes_in_a_capture_at_log_out(self):
        program, path = self.end_bus()
        program.send_signal(signal.SIGTERM)
        self.ends_in_order(program)
        self.assertGreater(whole_records(self.saved(path)), 0)
        self.assert_nothing_but()


if __name__ == "__main__":
    sys.exit(faults.main(sys.modules[__name__]))
