"""The application on a real desktop with the simulated radio: each capture command from its tray menu to the file, the
alerts on the way, and every way it may end."""
import os
import shutil
import signal
import stat
import subprocess
import sys
import tempfile
from pathlib import Path

import application
from application import (CAPTURE, CAPTURE_ALL, CAPTURE_ALL_2, CAPTURE_ALL_5, DISCONNECT, IDLE, POLL_MS, AppTest, field,
                         packets)
from bus import wait_for

NOBODY = 65534
TUN = "/dev/net/tun"
# The networks that are heard on channel 36 at 80 MHz.
HEARD_MHZ = {"5180", "5200", "5220", "5240"}
TRANSPORTS = {"tap": "simulated radio: frames come through a TAP device\n",
              "namespace": "simulated radio: frames come through a TAP device in a network namespace of this process",
              "stream": "simulated radio: frames come as a pcap stream\n"}
FIRST_CAPTURE = ["Capture files are automatically saved to your desktop.",
                 "You can set a different default location by choosing Preferences from the app's menu."]
CONNECTED = ["This operation cannot be done while connected to a network.",
             "Do you want to disconnect from Vantrel Lab? Vantrel will attempt to reconnect after the capture is done."]


class Captures(AppTest):
    def test_capture_from_the_menu_to_the_file(self):
        program, item = self.start_idle()
        idle = item.icon
        self.desktop.open_tray_menu()
        self.picture("menu-idle")
        self.desktop.close_menu()

        path = self.capture(item)
        self.assertEqual(self.desktop.panel(program)[0], "Capturing on Channel 36 (80 MHz)")
        self.assertNotEqual(item.icon, idle)
        item.wait_for_tool_tip("Vantrel: 36 (80 MHz), capturing (simulated)")
        self.desktop.open_tray_menu()
        self.picture("menu-capturing")
        self.desktop.close_menu()

        self.stop(program, item)
        item.wait_for_tool_tip(IDLE)
        self.assertEqual(item.icon, idle)
        path = self.saved(path)
        self.assertEqual(self.files(), [path])
        self.assertRegex(path.name, r"^vantrel_\d{4}-\d\d-\d\d_\d\d\.\d\d\.\d\d\.[AP]M\.pcap$")
        self.assertGreater(packets(path), 10)
        # The adapter starts as a member of its network on channel 36, and stays there.
        channels = field(path, "wlan.ds.current_channel", "wlan.fc.type_subtype == 8 && wlan_radio.frequency == 5180")
        self.assertGreater(len(channels), 0)
        self.assertEqual(set(channels), {"36"})
        self.assertLessEqual(set(field(self.saved(path), "radiotap.channel.freq", "frame")), HEARD_MHZ)

        self.quit(program, item)

    def capture_over(self, transport):
        program = self.start(VANTREL_RADIO_TRANSPORT=transport)
        wait_for(lambda: program.poll() is not None or self.desktop.find_item(program), "the tray item",
                 poll_ms=POLL_MS)
        if program.poll() == 1 and "cannot be had here" in self.log():
            self.skipTest(self.log().strip())
        item = self.desktop.wait_for_item(program)
        self.assertIn(TRANSPORTS[transport], self.log())
        path = self.capture(item)
        self.stop(program, item)
        self.assertGreater(packets(self.saved(path)), 10)
        self.quit(program, item)

    def test_over_a_tap_device(self):
        self.capture_over("tap")

    def test_over_a_namespace(self):
        self.capture_over("namespace")

    def test_over_a_stream(self):
        self.capture_over("stream")

    def demonstrate_as_nobody(self, tun_mode):
        """The whole demonstration as a user without capabilities, where /dev/net/tun has this mode; the transport."""
        folder = tempfile.mkdtemp(prefix="vantrel-nobody-")
        self.addCleanup(shutil.rmtree, folder)
        os.chown(folder, NOBODY, NOBODY)
        node, log = Path(folder, "tun"), Path(folder, "vantrel.log")
        # In a mount namespace, so that the machine's own node stays as it is.
        as_nobody = ["unshare", "--mount", "/bin/sh", "-c", f'mount --bind "{node}" {TUN} && exec "$@"', "sh",
                     "setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups", "--inh-caps=-all",
                     "--bounding-set=-all"]
        try:
            os.mknod(node, stat.S_IFCHR, os.stat(TUN).st_rdev)
            node.chmod(tun_mode)
            subprocess.run([*as_nobody, "true"], check=True, capture_output=True, timeout=20)
        except (OSError, subprocess.CalledProcessError) as reason:
            self.skipTest(f"no other user without rights can be had here: {reason}")
        if tun_mode == 0o666 and subprocess.run([*as_nobody, "unshare", "-Un", "true"], capture_output=True,
                                                timeout=20).returncode != 0:
            self.skipTest("this machine permits its users no namespaces")
        environment = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "TMPDIR": folder, "HOME": folder,
                       "VANTREL_RADIO": "simulated", "PYTHONDONTWRITEBYTECODE": "1"}
        demo = [sys.executable, Path(__file__).with_name("run_demo.py"), "--output", f"{folder}/out", "--", "/bin/sh",
                "-c", 'exec "$1" 2>"$2"', "sh", self.program, str(log)]
        done = subprocess.run([*as_nobody, *demo], env=environment, cwd=folder, capture_output=True, text=True,
                              timeout=90)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        capture, = Path(folder, "out").glob("*.pcap")
        self.assertGreater(packets(capture), 10)
        return [name for name, text in TRANSPORTS.items() if text in log.read_text()]

    def test_without_any_right(self):
        self.assertEqual(self.demonstrate_as_nobody(0o600), ["stream"])

    def test_with_nothing_but_access_to_tun(self):
        self.assertEqual(self.demonstrate_as_nobody(0o666), ["namespace"])

    def test_without_an_adapter(self):
        program = self.start(VANTREL_RADIO="")
        item = self.desktop.wait_for_item(program)
        item.wait_for_tool_tip("Vantrel: Off (no Wi-Fi adapter)")
        self.assertEqual(self.enabled(item),
                         ["Turn Wi-Fi On", "Preferences…", "Launch at Login", "Help", "About Vantrel", "Quit"])
        self.quit(program, item)


class Panel(AppTest):
    def test_cancel_throws_the_capture_away(self):
        program, item = self.start_idle()
        self.capture(item)
        title, texts = self.desktop.panel(program)
        self.assertEqual(title, "Capturing on Channel 36 (80 MHz)")
        self.assertRegex(texts[0], r"^Frames: \d+ \(\d+ (bytes|KB)\)$")
        self.assertEqual(self.desktop.nameless(program), [])
        self.picture("panel")
        self.desktop.press_in_panel(program, "Cancel")
        item.wait_for_entry("Quit")
        self.assertEqual(self.files(), [])
        self.quit(program, item)

    def test_stop_by_its_key(self):
        program, item = self.start_idle()
        path = self.capture(item)
        self.desktop.panel(program)
        self.desktop.type_at_window(program, "Escape")  # which does nothing
        self.desktop.type_at_window(program, "alt+s")
        self.desktop.wait_for_no_window(program, "Capturing")
        item.wait_for_entry("Quit")
        self.assertEqual(self.files(), [self.saved(path)])

    def test_limited_capture_shows_its_share_and_its_files(self):
        self.store(LimitCaptureFile=1, LimitCaptureFileUnits=3, LimitCaptureFileValue=1000, MaxCaptureFiles=3)
        program, item = self.start_idle()
        self.capture(item)
        _title, texts = self.desktop.panel(program)
        self.assertRegex(texts[0], r"^File 1 out of 3, frames: \d+ \(\d+ (bytes|KB)\)$")
        self.picture("panel-limited")
        self.stop(program, item)

    def test_limit_ends_the_capture(self):
        self.store(LimitCaptureFile=1, LimitCaptureFileUnits=4, LimitCaptureFileValue=200, MaxCaptureFiles=2,
                   RotateCaptureFiles=0)
        program, item = self.start_idle()
        home = self.desktop.folder / "home"
        known = set(home.rglob("*.pcap"))
        item.click(CAPTURE)

        def ended():
            return len(set(home.rglob("*.pcap")) - known) == 2 and item.entry("Quit").enabled
        wait_for(ended, "both files and the end of the capture", poll_ms=POLL_MS)
        self.assertEqual([packets(path) for path in set(home.rglob("*.pcap")) - known], [200, 200])
        self.desktop.wait_for_no_window(program, "Capturing")
        self.assertEqual(item.tool_tip, IDLE)
        self.quit(program, item)


class WiFi(AppTest):
    def test_capture_all_hops_and_comes_back(self):
        self.store(DwellTime=100)
        program, item = self.start_idle()
        item.click(CAPTURE_ALL)
        self.assertEqual(self.desktop.alert(program)[:2], CONNECTED)
        self.picture("disconnect")
        self.desktop.press(program, "Disconnect")
        path = self.wait_for_capture(item)

        def heard():
            return set(field(path, "radiotap.channel.freq", "frame"))
        wait_for(lambda: heard() >= {"2412", "2437", "2462", "5180", "5745"}, "frames of both bands", poll_ms=500)
        with self.assertRaises(LookupError):
            item.entry(DISCONNECT)
        self.stop(program, item)
        self.assertGreater(packets(self.saved(path)), 10)
        item.wait_for_entry(DISCONNECT)
        item.wait_for_tool_tip(IDLE)
        self.quit(program, item)

    def test_disconnect_alert_with_its_box(self):
        program, item = self.start_idle()
        item.click(CAPTURE_ALL_2)
        self.desktop.alert(program)
        self.desktop.tick(program, "Do not show this message again")
        self.desktop.press(program, "No")
        self.assertEqual(self.stored()["ShowDisconnectAlert"], 0)
        self.assertEqual(self.files(), [])
        item.click(CAPTURE_ALL_2)  # not asked any more
        path = self.wait_for_capture(item)
        self.stop(program, item)
        self.assertLessEqual(set(field(self.saved(path), "radiotap.channel.freq", "frame")),
                             {str(2407 + 5 * number) for number in range(1, 12)})

    def test_escape_declines_the_disconnection(self):
        program, item = self.start_idle()
        item.click(CAPTURE_ALL_5)
        self.desktop.alert(program)
        self.desktop.type_at_window(program, "Escape")
        self.desktop.wait_for_no_alert(program)
        item.entry(DISCONNECT)
        self.assertEqual(self.stored()["ShowDisconnectAlert"], 1)
        self.assertEqual(self.files(), [])

    def test_first_capture_is_told_where_files_go(self):
        self.store(FirstTimeCapture=1)
        program, item = self.start_idle()
        item.click(CAPTURE)
        self.assertEqual(self.desktop.alert(program), FIRST_CAPTURE)
        self.picture("first-capture")
        self.desktop.press(program, "Cancel")
        self.assertEqual(self.files(), [])
        self.capture(item)

    def test_power_from_the_menu(self):
        program, item = self.start_idle()
        item.click("Turn Wi-Fi Off")
        item.wait_for_tool_tip("Vantrel: Off (simulated)")
        item.wait_for_entry("Turn Wi-Fi On")
        with self.assertRaises(LookupError):
            item.entry(DISCONNECT)
        item.click("Turn Wi-Fi On")
        item.wait_for_tool_tip(IDLE)
        item.wait_for_entry("Turn Wi-Fi Off")
        item.wait_for_entry(DISCONNECT)
        item.click(DISCONNECT)
        wait_for(lambda: DISCONNECT not in item.labels(), "the command to go", poll_ms=POLL_MS)


class OtherChannels(AppTest):
    """Each remaining command from the menu to its file."""

    def captured(self, *command):
        program, item = self.start_idle()
        item.click(DISCONNECT)
        item.wait_for_no_entry(DISCONNECT)
        path = self.capture(item, *command)
        self.stop(program, item)
        return set(field(self.saved(path), "radiotap.channel.freq", "frame"))

    def test_one_channel_of_2_4_ghz(self):
        self.assertLessEqual(self.captured("Capture on 2.4 GHz Channel", "6"), {"2427", "2432", "2437", "2442", "2447"})

    def test_one_channel_of_5_ghz(self):
        self.assertEqual(self.captured("Capture on 5 GHz Channel", "149"), {"5745"})

    def test_all_of_5_ghz(self):
        self.store(DwellTime=100)
        self.assertTrue(all(frequency.startswith("5") for frequency in self.captured(CAPTURE_ALL_5)))


class Ends(AppTest):
    def capture_ended_by(self, number):
        program = self.start()
        path = self.capture(self.desktop.wait_for_item(program))
        program.send_signal(number)
        self.ends_in_order(program)
        path = self.saved(path)
        self.assertEqual(self.files(), [path])
        self.assertGreater(packets(path), 10)

    def test_sigterm_keeps_the_capture(self):
        self.capture_ended_by(signal.SIGTERM)

    def test_sigint_keeps_the_capture(self):
        self.capture_ended_by(signal.SIGINT)

    def test_sighup_keeps_the_capture(self):
        self.capture_ended_by(signal.SIGHUP)

    def test_termination_while_an_alert_is_open(self):
        program, item = self.start_idle()
        item.click(CAPTURE_ALL)
        self.desktop.alert(program)
        program.send_signal(signal.SIGTERM)
        self.ends_in_order(program)

    def test_killed_program_leaves_a_readable_file_and_no_obstacle(self):
        program = self.start()
        path = self.capture(self.desktop.wait_for_item(program))
        program.kill()
        program.wait()
        self.assertGreater(packets(path), 10)

        program = self.start()
        item = self.desktop.wait_for_item(program)
        again = self.capture(item)
        self.stop(program, item)
        self.assertNotEqual(again, path)
        self.assertEqual(self.files(), [path, self.saved(again)])
        self.quit(program, item)


if __name__ == "__main__":
    sys.exit(application.main(sys.modules[__name__]))
