"""The application's tray menu on a real desktop: what it shows in every state of the adapter, tuning, link-layer
header, and the commands of the application."""
import os
import sys
from pathlib import Path

import application
from application import CAPTURE, CAPTURE_ALL, DISCONNECT, POLL_MS, AppTest, packets
from bus import wait_for

STATUS = ["Status: Associated", "Channel: 36 (5 GHz)", "Channel Width: 80 MHz", "-"]
TUNING = ["Channel", "Channel Width", "Link-Layer Header", "-"]
SINGLE = ["Single Channel", CAPTURE, "Capture on 2.4 GHz Channel", "Capture on 5 GHz Channel", "-"]
SEVERAL = ["Multiple Channels", "Capture All 2.4 GHz Channels", "Capture All 5 GHz Channels", CAPTURE_ALL,
           "Capture Custom Channels…", "-"]
UPLOAD = ["Upload Capture", "-"]
APPLICATION = ["-", "Preferences…", "Launch at Login", "-", "Help", "About Vantrel", "-", "Quit"]
CAPTURES = [CAPTURE, "Capture on 2.4 GHz Channel", "Capture on 5 GHz Channel", "Capture All 2.4 GHz Channels",
            "Capture All 5 GHz Channels", CAPTURE_ALL]
RADIOTAP = "802.11 plus radiotap header"
NUMBERS_2 = [str(number) for number in range(1, 12)]


class States(AppTest):
    def test_in_a_network(self):
        _program, item = self.start_idle()
        self.assertEqual(item.labels(), STATUS + TUNING + SINGLE + SEVERAL + UPLOAD + [DISCONNECT, "Turn Wi-Fi Off"]
                         + APPLICATION)
        self.assertEqual(self.enabled(item), ["Channel", "Channel Width", "Link-Layer Header", *CAPTURES,
                                              "Capture Custom Channels…", "Upload Capture", DISCONNECT,
                                              "Turn Wi-Fi Off", "Preferences…", "Launch at Login", "Help",
                                              "About Vantrel", "Quit"])

    def test_in_no_network_and_off(self):
        _program, item = self.start_idle()
        item.click(DISCONNECT)
        item.wait_for_no_entry(DISCONNECT)
        self.assertEqual(item.labels(), ["Status: Not associated", *STATUS[1:]] + TUNING + SINGLE + SEVERAL + UPLOAD
                         + ["Turn Wi-Fi Off"] + APPLICATION)
        item.click("Turn Wi-Fi Off")
        item.wait_for_tool_tip("Vantrel: Off (simulated)")
        item.wait_for_entry("Turn Wi-Fi On")
        self.assertEqual(item.labels(), ["Status: Off", "Turn Wi-Fi On", *APPLICATION])

    def test_during_a_capture(self):
        program, item = self.start_idle()
        self.capture(item)
        self.assertEqual(self.enabled(item), ["Channel", "Channel Width", "Link-Layer Header", "Upload Capture",
                                              DISCONNECT, "Turn Wi-Fi Off", "Preferences…", "Launch at Login", "Help",
                                              "About Vantrel"])
        self.stop(program, item)
        for command in CAPTURES:
            self.assertTrue(item.entry(command).enabled, command)

    def test_submenus(self):
        _program, item = self.start_idle()

        def labels(*path):
            return ["-" if entry.separator else entry.label for entry in item.entry(*path).children if entry.visible]
        channels = labels("Channel")
        self.assertEqual(channels[:13], ["2.4 GHz", *NUMBERS_2, "-"])
        self.assertEqual(channels[13:16], ["5 GHz", "36", "40"])
        self.assertEqual(channels[-1], "165")
        self.assertEqual(labels("Channel Width"), ["20 MHz", "40 MHz", "80 MHz", "160 MHz"])
        self.assertEqual(labels("Capture on 2.4 GHz Channel")[:14], ["20 MHz", *NUMBERS_2, "-", "40 MHz"])
        self.assertEqual([label for label in labels("Capture on 5 GHz Channel") if label.endswith("MHz")],
                         ["20 MHz", "40 MHz", "80 MHz", "160 MHz"])
        self.assertEqual(item.checked("Channel"), ["36"])
        self.assertEqual(item.checked("Channel Width"), ["80 MHz"])
        uploads = item.entry("Upload Capture").children
        self.assertEqual([entry.label for entry in uploads if not entry.separator],
                         ["To CloudShark…", "To Mojo Packets…", "Configure Services…"])
        self.assertEqual([entry.label for entry in uploads if entry.enabled and not entry.separator],
                         ["Configure Services…"])

    def test_title_follows_the_settings(self):
        self.store(DisplayChannel=0, DisplayChannelWidth=0)
        program = self.start()
        item = self.desktop.wait_for_item(program)
        item.wait_for_tool_tip("Vantrel (simulated)")
        plain = item.icon
        self.end(program)
        _program, item = self.start_with_title()
        self.assertNotEqual(item.icon, plain, "the channel stands in the picture")

    def start_with_title(self):
        self.store()
        return self.start_idle()


class Tuning(AppTest):
    def test_channel_and_width(self):
        program, item = self.start_idle()
        item.click("Channel", "149")
        self.assertEqual(self.desktop.alert(program)[0], "This operation cannot be done while connected to a network.")
        self.assertEqual(self.desktop.nameless(program), [])
        self.desktop.press(program, "Disconnect")
        item.wait_for_tool_tip("Vantrel: 149 (80 MHz) (simulated)")
        item.wait_for_checked("Channel", "149")
        item.click("Channel Width", "20 MHz")
        item.wait_for_tool_tip("Vantrel: 149 (20 MHz) (simulated)")
        item.wait_for_checked("Channel Width", "20 MHz")
        self.assertEqual(item.checked("Channel"), ["149"])
        self.assertEqual(item.entry("Channel: 149 (5 GHz)").enabled, False)
        item.click("Channel", "6")  # where there is no 160 MHz, but 20 MHz
        item.wait_for_tool_tip("Vantrel: 6 (20 MHz) (simulated)")

    def test_declined_tuning_moves_no_mark(self):
        program, item = self.start_idle()
        item.click("Channel", "149")
        self.desktop.alert(program)
        self.desktop.press(program, "No")
        self.assertEqual(item.checked("Channel"), ["36"])
        item.entry(DISCONNECT)

    def test_while_capturing(self):
        program, item = self.start_idle()
        item.click(DISCONNECT)
        item.wait_for_no_entry(DISCONNECT)
        self.capture(item)
        item.click("Channel", "149")
        item.wait_for_checked("Channel", "149")
        wait_for(lambda: self.desktop.panel(program)[0] == "Capturing on Channel 149 (80 MHz)", "the panel's title",
                 poll_ms=POLL_MS)
        self.stop(program, item)


class LinkLayer(AppTest):
    def test_choice_is_kept(self):
        self.store(LinkLayerHeader=105)  # not offered
        program, item = self.start_idle()
        self.assertEqual(item.checked("Link-Layer Header"), [RADIOTAP])
        self.assertEqual(self.stored()["LinkLayerHeader"], 105, "the fallback is silent")
        item.click("Link-Layer Header", RADIOTAP)
        wait_for(lambda: self.stored()["LinkLayerHeader"] == 127, "the choice in the settings", poll_ms=POLL_MS)
        path = self.capture(item)
        self.stop(program, item)
        self.assertGreater(packets(self.saved(path)), 10)


class Commands(AppTest):
    def autostart(self):
        return self.desktop.folder / "config/autostart/vantrel.desktop"

    def test_launch_at_login(self):
        _program, item = self.start_idle()
        self.assertFalse(item.entry("Launch at Login").checked)
        item.click("Launch at Login")
        item.wait_for_checked("Launch at Login")
        self.assertIn(f"Exec={self.program}", self.autostart().read_text().replace('"', ""))
        self.autostart().unlink()  # as another tool of the user's does it
        item.wait_for_checked("Launch at Login", checked=False)
        item.click("Launch at Login")
        item.wait_for_checked("Launch at Login")
        item.click("Launch at Login")
        item.wait_for_checked("Launch at Login", checked=False)
        self.assertFalse(self.autostart().exists())

    def test_help_opens_in_the_default_handler(self):
        tools = self.desktop.folder / "tools"
        tools.mkdir(exist_ok=True)
        opener = tools / "xdg-open"
        opened = self.desktop.folder / "opened"
        opener.write_text(f'#!/bin/sh\necho "$1" >"{opened}.new" && mv "{opened}.new" "{opened}"\n')
        opener.chmod(0o755)
        _program, item = self.start_idle(PATH=f"{tools}:{os.environ['PATH']}")
        item.click("Help")
        wait_for(opened.exists, "the handler to be started", poll_ms=POLL_MS)
        document = Path(opened.read_text().strip().removeprefix("file://"))
        self.assertEqual(document.name, "Help.html")
        self.assertIn("<h1>Vantrel Help</h1>", document.read_text())
        self.assertEqual(len(list(document.parent.glob("*.png"))), 2)

    def test_about(self):
        program, item = self.start_idle()
        item.click("About Vantrel")
        window = self.desktop.window(program, "About Vantrel")
        texts = self.desktop.windows.texts_in(window)
        self.assertIn("Vantrel", texts)
        self.assertTrue(any(text.startswith("Version ") for text in texts), texts)
        self.assertEqual(self.desktop.nameless(program), [])
        self.picture("about")
        self.desktop.windows.press_in(window, "Close")
        self.desktop.wait_for_no_window(program, "About Vantrel")

    def test_quit(self):
        program, item = self.start_idle()
        self.quit(program, item)


if __name__ == "__main__":
    sys.exit(application.main(sys.modules[__name__]))
