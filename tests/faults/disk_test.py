"""A disk that is full at each step of a capture."""
import re
import sys

import faults
from application import CAPTURE, POLL_MS
from bus import wait_for
from delivery_test import REPLY, reply
from faults import SAVE_FAILED, WRITE_FAILED, FaultTest, whole_records

SPACE = "1m"
NO_SPACE = "No space left on device"
LOAD = "4000"  # frames a second, which fill a megabyte in about a second


class Disk(FaultTest):
    def begin(self, **settings):
        self.store(**settings)
        return self.start_idle(VANTREL_RADIO_LOAD=LOAD)

    def dismiss(self, program, message, *informative):
        """Reads the alert, whose texts must be these or hold them, and closes it; its informative text."""
        alert = self.desktop.alert(program)
        self.assertEqual(alert[0], message)
        for part in informative:
            self.assertIn(part, alert[1])
        self.desktop.press(program, "OK")
        return alert[1]

    def test_while_starting(self):
        """What the program keeps of its own cannot be written: it runs all the same."""
        folders = [self.small_file_system(self.desktop.folder / place, "64k") for place in ("state", "cache")]
        self.small_file_system(self.captures, "64k")
        for folder in (*folders, self.captures):
            self.fill(folder)
        program, item = self.begin()
        self.assert_at_rest(item)
        self.quit(program, item)

    def test_while_opening(self):
        self.small_file_system(self.captures, SPACE)
        filler = self.fill(self.captures)
        program, item = self.begin()
        item.click(CAPTURE)
        self.dismiss(program, WRITE_FAILED, NO_SPACE, "The 0 frames written before that are kept.")
        item.wait_for_entry("Quit")
        self.assert_at_rest(item)
        filler.unlink()
        self.assert_nothing_but()
        self.assert_works_again(program, item)
        self.quit(program, item)

    def test_while_capturing(self):
        self.small_file_system(self.captures, SPACE)
        program, item = self.begin()
        path = self.capture(item)
        text = self.dismiss(program, WRITE_FAILED, str(path), NO_SPACE)
        kept = int(re.search(r"The (\d+) frames written before that are kept\.", text).group(1))
        self.assertGreater(kept, 0)
        self.assertEqual(whole_records(self.saved(path)), kept)
        self.assert_nothing_but()
        self.assert_at_rest(item)
        self.quit(program, item)

    def test_while_rotating(self):
        """The capture goes on; its frames are lost, and counted, until there is room again."""
        self.small_file_system(self.saved_captures, SPACE)
        filler = self.fill(self.saved_captures)
        program, item = self.begin(LimitCaptureFile=1, LimitCaptureFileUnits=4, LimitCaptureFileValue=200,
                                   MaxCaptureFiles=3, RotateCaptureFiles=1)
        item.click(CAPTURE)
        kept = self.fresh_capture()
        self.dismiss(program, SAVE_FAILED, NO_SPACE, f"The capture file is kept as {kept}",
                     "Frames are lost, and counted, until it can be saved.")
        self.assertEqual(whole_records(kept), 200)
        filler.unlink()
        wait_for(lambda: len(list(self.saved_captures.rglob("*.pcap"))) == 3, "three files", poll_ms=POLL_MS)
        self.stop(program, item)
        wait_for(lambda: not list(self.captures.glob("*.pcap")), "the last file to be delivered", poll_ms=POLL_MS)
        self.assertTrue(all(whole_records(path) > 0 for path in self.saved_captures.rglob("*.pcap")))
        self.assertRegex(self.log(), r"\d+ frames were lost while there was no file to write them to")
        self.assert_at_rest(item)
        self.quit(program, item)

    def test_while_saving(self):
        self.small_file_system(self.saved_captures, SPACE)
        filler = self.fill(self.saved_captures)
        program, item = self.begin()
        path = self.capture(item)
        self.stop(program, item)
        self.dismiss(program, SAVE_FAILED, NO_SPACE, f"The capture file is kept as {path}")
        frames = whole_records(path)
        self.assertGreater(frames, 0)
        self.assert_nothing_but(path.name)
        self.assertEqual(list(self.saved_captures.iterdir()), [filler])
        self.assert_at_rest(item)
        self.quit(program, item)
        filler.unlink()
        self.assert_next_start(path)
        self.assertEqual(whole_records(path), frames)

    def test_while_uploading(self):
        """An upload takes no room: on a disk that is full before it begins, it is not disturbed."""
        self.small_file_system(self.captures, "8m")
        refused = reply("503 Service Unavailable", {"exceptions": ["Not now"]})
        address = self.serve(["request", {"send": refused}], ["request", {"pause": 0.5}, {"send": REPLY}])
        program, item = self.begin(CaptureFilesLocation="CloudShark", CloudSharkApplianceURL=address,
                                   CloudSharkApplianceAPIToken="token")
        path = self.capture(item)
        self.stop(program, item)
        self.heard("request")
        self.assertEqual(self.desktop.alert(program)[1], "Not now.")
        filler = self.fill(self.captures)
        self.desktop.press(program, "Retry")
        self.assertEqual(self.heard("request")["length"], path.stat().st_size)
        self.wait_for_notification()
        self.assertEqual(self.notifications()[0][0], "Capture successfully uploaded to CloudShark")
        self.assert_nothing_but(filler.name)
        self.assert_at_rest(item)
        self.quit(program, item)


if __name__ == "__main__":
    sys.exit(faults.main(sys.modules[__name__]))
