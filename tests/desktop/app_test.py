"""The application on a real desktop with the simulated radio: captures through its tray menu, one instance, and every
way it may end."""
import json
import os
import shutil
import signal
import stat
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from bus import wait_for
from harness import Desktop, Unavailable

PROGRAM = None  # the path of vantrel
SKIPPED = 77
ENOUGH_BYTES = 8 * 1024  # some beacons of each network on the channel
POLL_MS = 50  # for files, which tell nobody that they grow
NOBODY = 65534
TUN = "/dev/net/tun"
IDLE = "Vantrel: 36 (80 MHz) (simulated)"
CAPTURES = ["Capture", "Capture All 2.4 GHz", "Capture All 5 GHz", "Capture All Channels"]
DISCONNECT = "Disconnect from Vantrel Lab"
# The networks that are heard on channel 36 at 80 MHz.
HEARD_MHZ = {"5180", "5200", "5220", "5240"}
TRANSPORTS = {"tap": "simulated radio: frames come through a TAP device\n",
              "namespace": "simulated radio: frames come through a TAP device in a network namespace of this process",
              "stream": "simulated radio: frames come as a pcap stream\n"}
FIRST_CAPTURE = ["Capture files are automatically saved to your desktop.",
                 "You can set a different default location by choosing Preferences from the app's menu."]
CONNECTED = ["This operation cannot be done while connected to a network.",
             "Do you want to disconnect from Vantrel Lab? Vantrel will attempt to reconnect after the capture is done."]
NO_PERMISSION = ["You don't have permission to capture on this device.",
                 "Go to System Preferences > Users & Groups and make sure you are a member of the group 'access_bpf'. "
                 "You will need to log out and then log back in after making any changes."]


def field(path, name, display_filter):
    """This field of the frames that the filter selects, as tshark reads the file."""
    done = subprocess.run(["tshark", "-n", "-r", str(path), "-Y", display_filter, "-T", "fields", "-e", name],
                          capture_output=True, text=True, timeout=60, check=True)
    return done.stdout.split()


def packets(path):
    """How many frames the file holds; fails when its last record is torn."""
    done = subprocess.run(["capinfos", "-r", "-m", "-M", "-c", "-E", "-T", str(path)], capture_output=True, text=True,
                          timeout=60)
    if done.returncode != 0 or "cut short" in done.stderr:
        raise AssertionError(f"capinfos does not accept {path}: {done.stderr}")
    _name, encapsulation, count = done.stdout.strip().split(",")
    if encapsulation != "ieee-802-11-radiotap":
        raise AssertionError(f"{path} holds {encapsulation}")
    return int(count)


class AppTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        desktop = Desktop()
        cls.desktop = desktop.__enter__()
        cls.addClassCleanup(desktop.__exit__)
        cls.captures = cls.desktop.temporary / f"vantrel-{os.getuid()}"

    def setUp(self):
        self.log_name = self.id().rpartition(".")[2]
        shutil.rmtree(self.captures, ignore_errors=True)
        self.store(FirstTimeCapture=0)  # its notice has a test of its own

    def store(self, **settings):
        """The settings that the program finds."""
        folder = self.desktop.folder / "config/vantrel"
        folder.mkdir(mode=0o700, exist_ok=True)
        (folder / "settings.json").write_text(json.dumps(settings))

    def stored(self):
        return json.loads((self.desktop.folder / "config/vantrel/settings.json").read_text())

    def start(self, **environment):
        environment = {"VANTREL_RADIO": "simulated", "VANTREL_RADIO_TRANSPORT": "stream"} | environment
        program = self.desktop.start([PROGRAM], log=self.log_name, **environment)
        self.addCleanup(self.end, program)
        return program

    def end(self, program):
        if program.poll() is None:
            program.kill()
            program.wait()

    def log(self):
        return self.desktop.log(self.log_name)

    def files(self):
        return sorted(self.captures.glob("*.pcap"))

    def capture(self, item):
        """Starts a capture and waits for frames in its file, which it returns."""
        item.wait_for_entry("Capture")
        known = set(self.files())
        item.click("Capture")
        return self.wait_for_capture(item, known)

    def wait_for_capture(self, item, known=frozenset()):
        """Waits for frames in a capture file other than these, which it returns."""
        item.wait_for_entry("Stop Capture")

        def grown():
            new = set(self.files()) - known
            return next((path for path in new if path.stat().st_size >= ENOUGH_BYTES), None)
        return wait_for(grown, "frames in the capture file", poll_ms=POLL_MS)

    def stop(self, item):
        item.click("Stop Capture")
        item.wait_for_entry("Capture")

    def ends_in_order(self, program):
        self.assertEqual(program.wait(15), 0, self.log())

    def enabled(self, item):
        return [entry.label for entry in item.entries() if entry.enabled and entry.visible and not entry.separator]

    def picture(self, name):
        """Of the screen, kept for a reader only when VANTREL_SCREENSHOTS names a folder."""
        folder = Path(os.environ.get("VANTREL_SCREENSHOTS", self.desktop.folder))
        return self.desktop.screenshot(folder / f"{name}.png").read_bytes()


class Captures(AppTest):
    def test_capture_from_the_menu_to_the_file(self):
        program = self.start()
        item = self.desktop.wait_for_item(program)
        item.wait_for_tool_tip(IDLE)
        self.assertEqual(item.labels(), [*CAPTURES, "Stop Capture", "-", DISCONNECT, "Turn Wi-Fi Off", "-",
                                         "Preferences…", "Quit"])
        self.assertEqual(self.enabled(item), [*CAPTURES, DISCONNECT, "Turn Wi-Fi Off", "Quit"])
        idle = item.icon
        self.desktop.open_tray_menu()
        self.picture("menu-idle")
        self.desktop.close_menu()

        path = self.capture(item)
        self.assertEqual(self.enabled(item), ["Stop Capture", DISCONNECT, "Turn Wi-Fi Off"])
        self.assertNotEqual(item.icon, idle)
        wait_for(lambda: item.tool_tip != IDLE, "the tool tip of a capture", poll_ms=POLL_MS)
        self.assertRegex(item.tool_tip, r"^Capturing, frames: [1-9]\d* \(simulated\)$")
        self.desktop.open_tray_menu()
        self.picture("menu-capturing")
        self.desktop.close_menu()

        self.stop(item)
        item.wait_for_entry("Quit")
        item.wait_for_tool_tip(IDLE)
        self.assertEqual(item.icon, idle)
        self.assertEqual(self.files(), [path])
        self.assertRegex(path.name, r"^vantrel_\d{4}-\d\d-\d\d_\d\d\.\d\d\.\d\d\.[AP]M\.pcap$")
        self.assertGreater(packets(path), 10)
        # The adapter starts as a member of its network on channel 36, and stays there.
        channels = field(path, "wlan.ds.current_channel", "wlan.fc.type_subtype == 8 && wlan_radio.frequency == 5180")
        self.assertGreater(len(channels), 0)
        self.assertEqual(set(channels), {"36"})
        self.assertLessEqual(set(field(path, "radiotap.channel.freq", "frame")), HEARD_MHZ)

        item.click("Quit")
        self.ends_in_order(program)

    def capture_over(self, transport):
        program = self.start(VANTREL_RADIO_TRANSPORT=transport)
        wait_for(lambda: program.poll() is not None or self.desktop.find_item(program), "the tray item",
                 poll_ms=POLL_MS)
        if program.poll() == 1 and "cannot be had here" in self.log():
            self.skipTest(self.log().strip())
        item = self.desktop.wait_for_item(program)
        self.assertIn(TRANSPORTS[transport], self.log())
        path = self.capture(item)
        self.stop(item)
        self.assertGreater(packets(path), 10)
        item.click("Quit")
        self.ends_in_order(program)

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
                "-c", 'exec "$1" 2>"$2"', "sh", PROGRAM, str(log)]
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
        item.click("Capture")
        self.assertEqual(self.desktop.alert(program), NO_PERMISSION)
        self.picture("no-permission")
        self.desktop.press(program, "OK")
        self.assertEqual(self.enabled(item), [*CAPTURES, "Turn Wi-Fi On", "Quit"])
        self.assertEqual(self.files(), [])
        item.click("Quit")
        self.ends_in_order(program)


class WiFi(AppTest):
    def test_capture_all_hops_and_comes_back(self):
        self.store(FirstTimeCapture=0, DwellTime=100)
        program = self.start()
        item = self.desktop.wait_for_item(program)
        item.wait_for_tool_tip(IDLE)
        item.click("Capture All Channels")
        self.assertEqual(self.desktop.alert(program)[:2], CONNECTED)
        self.picture("disconnect")
        self.desktop.press(program, "Disconnect")
        path = self.wait_for_capture(item)

        def heard():
            return set(field(path, "radiotap.channel.freq", "frame"))
        wait_for(lambda: heard() >= {"2412", "2437", "2462", "5180", "5745"}, "frames of both bands", poll_ms=500)
        with self.assertRaises(LookupError):
            item.entry(DISCONNECT)
        self.stop(item)
        self.assertGreater(packets(path), 10)
        item.wait_for_entry(DISCONNECT)
        item.wait_for_tool_tip(IDLE)
        item.click("Quit")
        self.ends_in_order(program)

    def test_disconnect_alert_with_its_box(self):
        program = self.start()
        item = self.desktop.wait_for_item(program)
        item.wait_for_tool_tip(IDLE)
        item.click("Capture All 2.4 GHz")
        self.desktop.alert(program)
        self.desktop.tick(program, "Do not show this message again")
        self.desktop.press(program, "No")
        self.assertEqual(self.stored()["ShowDisconnectAlert"], 0)
        self.assertEqual(self.files(), [])
        item.click("Capture All 2.4 GHz")  # not asked any more
        path = self.wait_for_capture(item)
        self.stop(item)
        self.assertLessEqual(set(field(path, "radiotap.channel.freq", "frame")),
                             {str(2407 + 5 * number) for number in range(1, 12)})

    def test_escape_declines_the_disconnection(self):
        program = self.start()
        item = self.desktop.wait_for_item(program)
        item.wait_for_tool_tip(IDLE)
        item.click("Capture All 5 GHz")
        self.desktop.alert(program)
        self.desktop.type_at_window(program, "Escape")
        self.desktop.wait_for_no_alert(program)
        item.entry(DISCONNECT)
        self.assertEqual(self.stored()["ShowDisconnectAlert"], 1)
        self.assertEqual(self.files(), [])

    def test_first_capture_is_told_where_files_go(self):
        self.store()
        program = self.start()
        item = self.desktop.wait_for_item(program)
        item.wait_for_entry("Capture")
        item.click("Capture")
        self.assertEqual(self.desktop.alert(program), FIRST_CAPTURE)
        self.picture("first-capture")
        self.desktop.press(program, "Cancel")
        self.assertEqual(self.files(), [])
        self.capture(item)

    def test_power_from_the_menu(self):
        program = self.start()
        item = self.desktop.wait_for_item(program)
        item.wait_for_tool_tip(IDLE)
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


class Ends(AppTest):
    def capture_ended_by(self, number):
        program = self.start()
        path = self.capture(self.desktop.wait_for_item(program))
        program.send_signal(number)
        self.ends_in_order(program)
        self.assertEqual(self.files(), [path])
        self.assertGreater(packets(path), 10)

    def test_sigterm_keeps_the_capture(self):
        self.capture_ended_by(signal.SIGTERM)

    def test_sigint_keeps_the_capture(self):
        self.capture_ended_by(signal.SIGINT)

    def test_sighup_keeps_the_capture(self):
        self.capture_ended_by(signal.SIGHUP)

    def test_termination_while_an_alert_is_open(self):
        program = self.start(VANTREL_RADIO="")
        self.desktop.wait_for_item(program).click("Capture")
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
        self.stop(item)
        self.assertNotEqual(again, path)
        self.assertEqual(self.files(), sorted([path, again]))
        item.click("Quit")
        self.ends_in_order(program)


class Desktops(AppTest):
    def test_second_start_shows_the_menu_of_the_first(self):
        first = self.start()
        item = self.desktop.wait_for_item(first)
        second = self.start()
        self.assertEqual(second.wait(15), 0, self.log())
        self.desktop.wait_for_window(first)
        self.picture("second-start")
        self.desktop.close_menu(first)
        item.click("Quit")
        self.ends_in_order(first)

    def test_item_comes_with_the_panel(self):
        self.desktop.stop_panel()
        program = self.start()
        # It is there all the same, as a second start shows, and can be used from its menu.
        self.assertEqual(self.second_start(program), 0)
        self.desktop.wait_for_window(program)
        self.desktop.type_at_menu("c", self.files, "a capture to start")
        self.desktop.start_panel()
        item = self.desktop.wait_for_item(program)
        item.wait_for_entry("Stop Capture")
        path, = self.files()
        wait_for(lambda: path.stat().st_size >= ENOUGH_BYTES, "frames in the capture file", poll_ms=POLL_MS)
        self.stop(item)
        self.assertGreater(packets(path), 10)
        item.click("Quit")
        self.ends_in_order(program)

    def second_start(self, first):
        """Once the first holds the lock; its own item cannot be waited for here."""
        socket = self.desktop.folder / "run/vantrel/instance.socket"
        wait_for(lambda: socket.exists() or first.poll() is not None, "the first start", poll_ms=POLL_MS)
        return self.start().wait(15)


def main():
    global PROGRAM
    PROGRAM = str(Path(sys.argv.pop(1)).resolve())
    missing = [tool for tool in ("tshark", "capinfos") if shutil.which(tool) is None]
    if missing:
        print(f"skipped: not installed: {' and '.join(missing)} (packages tshark, wireshark-common)")
        return SKIPPED
    try:
        with Desktop(panel=False):
            pass
    except Unavailable as reason:
        print(f"skipped: no desktop here: {reason}")
        return SKIPPED
    unittest.main(verbosity=2)


if __name__ == "__main__":
    sys.exit(main())
