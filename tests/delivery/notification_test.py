"""Notifications on a real desktop: dunst shows them, and clicks on them lead to a file manager or a browser."""
import json
import os
import signal
import subprocess
import sys
import unittest

from probe import PATIENCE, Probe, Recorder
from bus import wait_for  # this and what follows are found through probe
from file_manager import FileManager
from harness import Desktop, Unavailable

PROGRAM = None  # the path of notification_probe
SKIPPED = 77
SERVER = "org.freedesktop.Notifications"
POLL_MS = 50  # for what dunst tells nobody
# Lists its actions to a menu program and takes the answer; this one chooses the action that a file names.
MENU = """#!/bin/sh
exec grep -F -- ",$(cat {choice})]"
"""


class NotificationTest(unittest.TestCase):
    def setUp(self):
        desktop = Desktop(panel=False)
        self.desktop = desktop.__enter__()
        self.addCleanup(desktop.__exit__)
        self.recorder = Recorder(desktop.env["XDG_DATA_HOME"])
        self.addCleanup(self.recorder.close)
        self.recorder.add("browser", "x-scheme-handler/https;")
        self.file = desktop.folder / "tmp/a & <b>b.pcap"
        self.file.write_bytes(b"")
        self.probe = Probe(desktop.start([PROGRAM]), lambda: desktop.log("program"))
        self.probe.wait_for("ready")

    def dunstctl(self, *arguments):
        return subprocess.run(["dunstctl", *arguments], env=self.desktop.env, capture_output=True, text=True,
                              check=True, timeout=PATIENCE).stdout.strip()

    def wait_for_displayed(self, count):
        wait_for(lambda: int(self.dunstctl("count", "displayed")) == count, f"dunst to show {count} notifications",
                 PATIENCE, POLL_MS)

    def deliver_saved_file(self):
        self.probe.order("deliver", self.file.name, "2 frames (1 KB)", "uploader", "LocalSingle", "path",
                         str(self.file))
        self.wait_for_displayed(1)

    def stop_server(self):
        """Ends dunst; the bus starts another when the next notification is delivered."""
        pid = self.desktop.bus.process_of(SERVER)
        with self.desktop.bus.listening("org.freedesktop.DBus", "NameOwnerChanged"):
            os.kill(pid, signal.SIGTERM)
            wait_for(lambda: not self.desktop.bus.has_owner(SERVER), "dunst to end")

    def start_server_with_menu(self):
        """A dunst whose menu of actions is answered by choose()."""
        self.stop_server()
        self.choice = self.desktop.folder / "choice"
        menu = self.desktop.folder / "menu"
        menu.write_text(MENU.format(choice=self.choice))
        menu.chmod(0o755)
        config = self.desktop.folder / "dunstrc"
        config.write_text(f"[global]\ndmenu = {menu}\n")
        self.desktop.start(["dunst", "-config", str(config)], "dunst-with-menu")
        self.desktop.bus.wait_for_owner(SERVER)

    def choose(self, key):
        self.choice.write_text(key)
        self.dunstctl("context")

    def test_a_click_reveals_the_saved_file(self):
        manager = FileManager(self.desktop.env["DBUS_SESSION_BUS_ADDRESS"])
        self.addCleanup(manager.close)
        self.deliver_saved_file()
        self.dunstctl("action", "0")
        self.assertEqual(self.probe.wait_for("activated"), ["activated", "1", self.file.name])
        wait_for(lambda: manager.calls, "the file manager to be called")
        self.assertEqual(manager.calls[0][:2], ("ShowItems", [self.file.as_uri().replace("%26", "&")]))
        self.wait_for_displayed(0)

    def test_its_texts_are_read_as_they_were_written(self):
        self.deliver_saved_file()
        self.dunstctl("close")
        self.wait_for_displayed(0)
        shown = json.loads(self.dunstctl("history"))["data"][0][0]
        self.assertEqual(shown["summary"]["data"], "Capture completed")
        self.assertEqual(shown["body"]["data"], "a &amp; &lt;b&gt;b.pcap\n2 frames (1 KB)")  # in Pango's markup
        self.assertEqual(shown["appname"]["data"], "Vantrel")

    def test_the_buttons(self):
        self.start_server_with_menu()
        self.deliver_saved_file()
        self.choose("dismiss")
        self.wait_for_displayed(0)
        self.probe.order("deliver", "b.pcap", "", "uploader", "CloudShark", "id", "7/8")
        self.wait_for_displayed(1)
        self.choose("open")
        self.assertEqual(self.probe.wait_for("activated"), ["activated", "2", "b.pcap"])
        self.assertEqual(self.recorder.report()["arguments"], ["https://shark.example/captures/7%2F8"])
        self.assertEqual(len(self.probe.told("activated")), 1)

    def test_the_bus_starts_a_server_and_its_clicks_count(self):
        self.stop_server()
        self.deliver_saved_file()
        self.dunstctl("action", "0")
        self.probe.wait_for("activated", "1", self.file.name)
        self.assertEqual(self.probe.told("undelivered"), [])


def main():
    global PROGRAM
    PROGRAM = sys.argv.pop(1)
    try:
        with Desktop(panel=False):
            pass
    except Unavailable as reason:
        print(f"skipped: no desktop here: {reason}")
        return SKIPPED
    unittest.main(verbosity=2)


if __name__ == "__main__":
    sys.exit(main())
