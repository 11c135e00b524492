"""Each call of libpcap fails once: it is logged by its name, the adapter is given back, no file is lost, and the next
capture runs."""
import re
import sys
from pathlib import Path

import faults
from application import CAPTURE, POLL_MS
from bus import wait_for
from faults import WRITE_FAILED, FaultTest, whole_records

TEXT = "a fault of the tests"
TUN = Path("/dev/net/tun")
NO_PERMISSION = "You don't have permission to capture on this device."
NO_FILE = "The capture has no file."
NO_FRAMES = "No frames were captured."
LOAD = "500"


class Pcap(FaultTest):
    transport = "tap"

    def setUp(self):
        super().setUp()
        self.armed = self.desktop.folder / "armed"

    def start_with(self, call):
        environment = self.shim("pcap_fault", CALL=call, ARMED=self.armed)
        program = self.start(VANTREL_RADIO_TRANSPORT=self.transport, VANTREL_RADIO_LOAD=LOAD, **environment)
        wait_for(lambda: program.poll() is not None or self.desktop.find_item(program), "the tray item",
                 poll_ms=POLL_MS)
        if program.poll() == 1 and "cannot be had here" in self.log():
            self.skipTest(self.log().strip())
        item = self.desktop.wait_for_item(program)
        self.assert_at_rest(item)
        return program, item

    def arm(self):
        self.armed.touch()

    def wait_for_fault(self):
        wait_for(lambda: not self.armed.exists(), "the fault", poll_ms=POLL_MS)

    def wait_for_log(self, *parts):
        pattern = "(?s)" + ".*".join(map(re.escape, parts))
        wait_for(lambda: re.search(pattern, self.log()), f"{pattern!r} in the log", poll_ms=POLL_MS)

    def recovers(self, program, item):
        self.assert_at_rest(item)
        self.assert_nothing_but()
        self.assert_works_again(program, item)
        self.quit(program, item)

    def has_captured(self, program, item, path, at_least=1):
        self.assertGreaterEqual(whole_records(self.saved(path)), at_least)
        self.assert_at_rest(item)
        self.assert_nothing_but()
        self.quit(program, item)

    # What a fault does

    def refused(self, call, *logged, alert=None):
        """The capture does not begin."""
        program, item = self.start_with(call)
        self.arm()
        item.click(CAPTURE)
        self.wait_for_fault()
        self.wait_for_log(*logged)
        if alert:
            self.assertEqual(self.desktop.alert(program)[0], alert)
            self.desktop.press(program, "OK")
        item.wait_for_entry("Quit")
        self.recovers(program, item)

    def goes_on(self, call):
        """The capture is as good as any."""
        program, item = self.start_with(call)
        self.arm()
        path = self.capture(item)
        self.wait_for_fault()
        self.wait_for_log(f"{call}() failed: {TEXT}")
        self.stop(program, item)
        self.has_captured(program, item, path)

    def at_the_end(self, call):
        """The last frames are delivered with a fault, and the capture is saved."""
        program, item = self.start_with(call)
        path = self.capture(item)
        on_disk = whole_records(path, torn_permitted=True)
        self.arm()
        self.stop(program, item)
        self.wait_for_fault()
        self.wait_for_log(f"{call}() failed: {TEXT}")
        self.has_captured(program, item, path, on_disk)

    # The calls

    def test_pcap_create(self):
        self.refused("pcap_create", f"pcap_create() failed: {TEXT}")

    def test_pcap_activate(self):
        self.refused("pcap_activate", "pcap_activate() failed: ", TEXT, alert=NO_PERMISSION)

    def test_pcap_set_datalink(self):
        self.refused("pcap_set_datalink", f"pcap_set_datalink() failed: {TEXT}")

    def test_pcap_set_snaplen(self):
        self.goes_on("pcap_set_snaplen")

    def test_pcap_set_promisc(self):
        self.goes_on("pcap_set_promisc")

    def test_pcap_set_timeout(self):
        self.goes_on("pcap_set_timeout")

    def test_pcap_set_buffer_size(self):
        self.goes_on("pcap_set_buffer_size")

    def test_pcap_set_immediate_mode(self):
        self.goes_on("pcap_set_immediate_mode")

    def test_pcap_stats(self):
        self.goes_on("pcap_stats")

    def test_pcap_setnonblock(self):
        self.at_the_end("pcap_setnonblock")

    def test_pcap_dispatch(self):
        self.at_the_end("pcap_dispatch")

    def test_pcap_list_datalinks(self):
        """At the start, when the menu of link-layer headers is filled."""
        self.arm()
        program, item = self.start_with("pcap_list_datalinks")
        self.wait_for_fault()
        self.wait_for_log(f"pcap_list_datalinks() failed: {TEXT}")
        self.recovers(program, item)

    def test_pcap_loop(self):
        program, item = self.start_with("pcap_loop")
        self.arm()
        item.click(CAPTURE)
        self.wait_for_fault()
        self.wait_for_log(f"pcap_loop() failed: {TEXT}")
        item.wait_for_entry("Quit")
        # What has arrived by then is delivered, if there is anything.
        wait_for(lambda: self.desktop.windows.texts({program.pid}) or list(self.saved_captures.glob("*.pcap")),
                 "a file, or an alert that there is none", poll_ms=POLL_MS)
        for path in self.saved_captures.glob("*.pcap"):
            self.assertGreater(whole_records(path), 0)
            break
        else:
            self.assertEqual(self.desktop.alert(program)[0], NO_FRAMES)
            self.desktop.press(program, "OK")
        self.recovers(program, item)

    def without_file(self, call, *logged):
        program, item = self.start_with(call)
        self.arm()
        item.click(CAPTURE)
        self.wait_for_fault()
        self.wait_for_log(*logged)
        alert = self.desktop.alert(program)
        self.assertEqual(alert[0], NO_FILE)
        self.assertIn(str(self.captures), alert[1])
        self.desktop.press(program, "OK")
        self.stop(program, item)
        self.assertEqual(self.desktop.alert(program)[0], NO_FRAMES)
        self.desktop.press(program, "OK")
        item.wait_for_entry("Quit")
        self.recovers(program, item)

    def test_pcap_open_dead(self):
        self.without_file("pcap_open_dead", "pcap_open_dead() failed for file ")

    def test_pcap_dump_fopen(self):
        self.without_file("pcap_dump_fopen", "pcap_dump_open() failed for file ", TEXT)

    def test_pcap_dump_flush(self):
        program, item = self.start_with("pcap_dump_flush")
        path = self.capture(item)
        on_disk = whole_records(path, torn_permitted=True)
        self.arm()
        self.wait_for_fault()
        self.wait_for_log("pcap_dump_flush() failed for file ", ": Input/output error")
        alert = self.desktop.alert(program)
        self.assertEqual(alert[0], WRITE_FAILED)
        kept = int(re.search(r"The (\d+) frames written before that are kept\.", alert[1]).group(1))
        self.desktop.press(program, "OK")
        self.assertGreaterEqual(kept, on_disk)
        self.assertEqual(whole_records(self.saved(path)), kept)
        self.recovers(program, item)

    def test_pcap_fopen_offline(self):
        self.transport = "stream"
        self.refused("pcap_fopen_offline", f"pcap_create() failed: {TEXT}")


if __name__ == "__main__":
    sys.exit(faults.main(sys.modules[__name__]))
