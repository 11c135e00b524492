"""The tray item and the alerts on a real desktop, driven through a small program on them (tray_probe)."""
import os
import shutil
import sys
import unittest
from pathlib import Path

import tray
from bus import wait_for
from harness import Desktop, Unavailable
from watcher import Watcher

PROGRAM = None  # the path of tray_probe
SKIPPED = 77
CAPTURE = "Capture on Current Channel"
CAPTURES = [CAPTURE, "Capture All 2.4 GHz Channels", "Capture All 5 GHz Channels", "Capture All Channels",
            "Capture Custom Channels…"]
ALWAYS = ["Upload Capture", "Turn Wi-Fi Off", "Preferences…", "Launch at Login", "Help", "About Vantrel"]
CHOICES = ["Channel", "Channel Width"]
IDLE = [*CHOICES, *CAPTURES, *ALWAYS, "Quit"]  # the submenus are empty
TOOL_TIP = "Vantrel: 36 (simulated)"
MESSAGE = "Cannot <i>save</i> the capture."
INFORMATION = ('The folder "/home/user/Captures & <b>more</b>" does not exist any more. '
               "Choose another folder for capture files in the preferences.")


def order(program, word):
    program.stdin.write(word.encode() + b"\n")
    program.stdin.flush()


def brightness(icon):
    """The mean of red, green and blue over the opaque pixels of an icon's first picture."""
    _width, _height, data = icon[0]
    opaque = [data[i + 1:i + 4] for i in range(0, len(data), 4) if data[i] == 255]
    return sum(sum(pixel) for pixel in opaque) / (3 * len(opaque))


class DesktopTest(unittest.TestCase):
    panel = True

    def setUp(self):
        desktop = Desktop(panel=self.panel)
        self.desktop = desktop.__enter__()
        self.addCleanup(desktop.__exit__)
        self.program = self.desktop.start([PROGRAM])

    def has_told(self, word):
        return word in self.desktop.log("program").split()

    def told(self, word):
        """Waits until the program has printed this word; it prints to a file, which tells nobody."""
        wait_for(lambda: self.has_told(word), f"the program to say {word!r}", poll_ms=50)


class LateHost(DesktopTest):
    panel = False

    def test_item_appears_when_the_host_comes_later(self):
        self.told("ready")
        self.assertFalse(tray.has_host(self.desktop.bus))
        self.desktop.start_panel()
        item = self.desktop.wait_for_item(self.program)
        self.assertIn(CAPTURE, item.labels())

    def test_item_waits_for_the_host_of_a_watcher(self):
        self.told("ready")
        watcher = Watcher(self.desktop.env["DBUS_SESSION_BUS_ADDRESS"])
        self.addCleanup(watcher.close)
        wait_for(lambda: watcher.questions, "the program to ask for a host")
        self.assertEqual(watcher.items, [])
        watcher.bring_host()
        wait_for(lambda: watcher.items, "the program to register its item")


@unittest.skipUnless(shutil.which("trayer"), "needs the package trayer")
class OlderTray(DesktopTest):
    panel = False

    def test_item_appears_in_an_xembed_tray_that_comes_later(self):
        self.told("ready")
        self.desktop.start(["trayer", "--edge", "top", "--align", "right", "--widthtype", "request"], log="trayer")
        self.told("shown")
        self.desktop.wait_for_window(self.program)
        order(self.program, "menu")
        self.desktop.wait_for_window(self.program, count=2)  # the item itself is a window here
        self.desktop.type_at_menu("q", lambda: self.program.poll() is not None, "the program to quit")
        self.assertEqual(self.program.returncode, 0, self.desktop.log("program"))


class WithHost(DesktopTest):
    def setUp(self):
        super().setUp()
        self.item = self.desktop.wait_for_item(self.program)

    def enabled(self):
        return [entry.label for entry in self.item.entries()
                if entry.enabled and entry.visible and not entry.separator]

    def quit(self):
        self.item.click("Quit")
        self.assertEqual(self.program.wait(10), 0, self.desktop.log("program"))

    def test_item_returns_when_the_host_restarts(self):
        self.desktop.stop_panel()
        self.desktop.start_panel()
        item = self.desktop.wait_for_item(self.program)
        item.click(CAPTURE)
        self.told("capture")

    def test_menu_over_dbus(self):
        self.item.wait_for_tool_tip(TOOL_TIP)
        self.assertEqual(self.enabled(), IDLE)
        idle = self.item.icon
        self.assertEqual([(width, height) for width, height, _ in idle], [(size, size) for size in (22, 24, 44, 48)])

        self.item.click(CAPTURE)
        self.item.wait_for_entry("Quit", enabled=False)
        self.assertEqual(self.enabled(), [*CHOICES, *ALWAYS])
        self.assertNotEqual(self.item.icon, idle, "the picture shows the capture")
        self.assertEqual(self.item.tool_tip, "Vantrel: 36, capturing (simulated)")
        with self.assertRaisesRegex(LookupError, "disabled"):
            self.item.click("Quit")
        captured = self.desktop.temporary / f"vantrel-{os.getuid()}" / "probe.pcap"
        # A file tells nobody that it grows.
        wait_for(lambda: captured.stat().st_size > 1000, "frames in the capture file", poll_ms=50)

        order(self.program, "stop")
        self.item.wait_for_entry("Quit")
        self.assertEqual(self.enabled(), IDLE)
        self.assertEqual(self.item.icon, idle)
        self.quit()

    def test_picture_follows_a_dark_tray(self):
        with self.desktop.bus.listening(tray.ITEM):
            wait_for(lambda: brightness(self.item.icon) < 128, "a dark picture")
        self.desktop.announce_dark_tray()
        with self.desktop.bus.listening(tray.ITEM):
            wait_for(lambda: brightness(self.item.icon) >= 128, "a light picture")

    def test_folder_panel(self):
        order(self.program, "folder")
        self.desktop.alert(self.program)
        self.desktop.press(self.program, "Select")
        self.told("folder")
        order(self.program, "folder")
        self.desktop.alert(self.program)
        self.desktop.press(self.program, "Cancel")
        self.told("no-folder")

    def test_alert_shows_its_texts_and_closes(self):
        order(self.program, "alert")
        self.assertEqual(self.desktop.alert(self.program), [MESSAGE, INFORMATION])
        self.desktop.press(self.program, "OK")
        self.told("alert-closed")

    def test_alert_has_the_keyboard_and_a_default_button(self):
        order(self.program, "alert")
        self.desktop.alert(self.program)
        self.desktop.type_at_window(self.program, "Return")
        self.desktop.wait_for_no_alert(self.program)
        self.told("alert-closed")

    def test_beta_notice(self):
        order(self.program, "beta")
        self.assertEqual(self.desktop.alert(self.program),
                         ["This is a beta version of Vantrel.", 'This copy is provided "AS IS" without warranty of '
                          "any kind, for testing purposes only."])
        self.desktop.press(self.program, "Accept")
        self.told("accepted")
        order(self.program, "beta")
        self.desktop.alert(self.program)
        self.desktop.type_at_window(self.program, "Escape")
        self.told("refused")

    def test_menu_pops_up_at_a_click_and_at_the_pointer(self):
        self.desktop.click_icon()
        self.desktop.wait_for_window(self.program)
        self.desktop.close_menu(self.program)
        self.desktop.xdotool("mousemove", 500, 300)
        order(self.program, "menu")
        self.desktop.wait_for_window(self.program)
        self.desktop.type_at_menu("c", lambda: self.has_told("capture"), "the mnemonic to start a capture")

    def test_picture_of_the_panel_menu(self):
        before = self.desktop.screenshot(self.desktop.folder / "before.png").read_bytes()
        self.desktop.open_tray_menu()
        opened = self.desktop.screenshot(self.desktop.folder / "opened.png").read_bytes()
        self.assertTrue(opened.startswith(b"\x89PNG"))
        self.assertNotEqual(opened, before)
        self.desktop.close_menu()
        self.quit()


def main():
    global PROGRAM
    PROGRAM = str(Path(sys.argv.pop(1)).resolve())
    try:
        with Desktop(panel=False):
            pass
    except Unavailable as reason:
        print(f"skipped: no desktop here: {reason}")
        return SKIPPED
    unittest.main(verbosity=2)


if __name__ == "__main__":
    sys.exit(main())
