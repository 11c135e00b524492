"""The controls of the preferences window on a real desktop, used as a screen reader does it, and what the next capture
makes of each choice."""
import sys

import application
from application import CAPTURE_ALL_2, DISCONNECT, POLL_MS, field, packets
from bus import wait_for
from delivery_test import DeliveryTest
from file_manager import FileManager
from preferences_test import CHECK_BOX, COMBO, RADIO, PreferencesTest
from windows import BUTTONS

ASK_FIRST = "Ask before leaving a network to hop or tune"
LEAVE_TOO = "Leave the network for a capture on the current channel too"


class EffectsTest(PreferencesTest, DeliveryTest):
    def recorder(self, name):
        """A program that keeps its argument in a file; the paths of both. The file is whole once it exists."""
        tools = self.desktop.folder / "tools"
        tools.mkdir(exist_ok=True)
        program, record = tools / name, self.desktop.folder / f"{name}-{self.log_name}"
        program.write_text(f'#!/bin/sh\necho "$1" >"{record}.new" && mv "{record}.new" "{record}"\n')
        program.chmod(0o755)
        return program, record

    def recorded(self, record):
        """Waits for what the program was given, and makes ready for the next."""
        wait_for(record.exists, "the program to be started", poll_ms=POLL_MS)
        given = record.read_text().strip()
        record.unlink()
        return given

    def install(self, association, *names):
        """Makes programs of these names the applications for what is associated; what each records and its entry."""
        folder = self.desktop.folder / "data/applications"
        folder.mkdir(exist_ok=True)
        installed = []
        for name in names:
            program, record = self.recorder(name)
            entry = folder / f"{name}.desktop"
            entry.write_text(f"[Desktop Entry]\nType=Application\nName={name.title()}\nExec={program} %u\n")
            installed.append((record, entry))
        (self.desktop.folder / "config/mimeapps.list").write_text(
            f"[Added Associations]\n{association}=" + "".join(f"{name}.desktop;" for name in names) + "\n")
        return installed

    def combo(self, window, description):
        """A pop-up menu; what it shows is its name."""
        return wait_for(lambda: next((node for node in self.windows.contents(window) if node.role in COMBO
                                      and self.windows.description(node) == description), None),
                        f"the menu {description!r}", poll_ms=POLL_MS)

    def locate(self, program, window, key):
        """Presses a key at the location menu, which is the first control of its pane."""
        self.windows.focus(self.control(window, BUTTONS, "Show"))
        self.desktop.type_at_window(program, "shift+Tab")
        self.desktop.type_at_window(program, key)


class Location(EffectsTest):
    def test_another_folder_holds_for_the_next_capture(self):
        manager = FileManager(self.desktop.env["DBUS_SESSION_BUS_ADDRESS"])
        self.addCleanup(manager.close)
        place = self.desktop.folder / "home/more captures"
        place.mkdir(exist_ok=True)
        program, item = self.start_idle()
        window = self.open(program, item, "General")
        self.locate(program, window, "End")
        self.choose_file(program, "Select a Folder", place)
        self.wait_for_stored(CaptureFilesLocation=str(place))
        self.press(window, "Show")
        wait_for(lambda: manager.calls, "the file manager to be asked", poll_ms=POLL_MS)
        self.assertEqual(manager.calls[0][:2], ("ShowFolders", [place.as_uri()]))
        name = self.capture(item).name
        self.stop(program, item)
        wait_for((place / name).exists, "the capture in the chosen folder", poll_ms=POLL_MS)

    def test_a_panel_that_is_left_changes_nothing(self):
        self.saved_captures.mkdir()
        program, item = self.start_idle()
        window = self.open(program, item, "General")
        self.locate(program, window, "End")
        self.desktop.window(program, "Select a Folder")
        self.desktop.type_at_window(program, "Escape")
        self.desktop.wait_for_no_window(program, "Select a Folder")
        self.control(window, COMBO, "Desktop")
        self.assertNotIn("CaptureFilesLocation", self.stored())

    def test_asking_holds_for_the_next_capture(self):
        program, item = self.start_idle()
        window = self.open(program, item, "General")
        self.locate(program, window, "Down")
        self.wait_for_stored(CaptureFilesLocation="AskForEachCapture")
        self.capture(item)
        self.desktop.press_in_panel(program, "Stop")
        self.desktop.window(program, "Save")
        self.desktop.type_at_window(program, "Escape")
        item.wait_for_entry("Quit")

    def test_show_opens_the_service(self):
        (record, _), = self.install("x-scheme-handler/http", "browser")
        self.store(CaptureFilesLocation="CloudShark", CloudSharkApplianceURL="http://127.0.0.1:9/appliance/",
                   CloudSharkApplianceAPIToken="t")
        program, item = self.start_idle()
        window = self.open(program, item, "General")
        self.control(window, COMBO, "CloudShark")
        self.press(window, "Show")
        self.assertEqual(self.recorded(record), "http://127.0.0.1:9/appliance/captures")


class AfterSaving(EffectsTest):
    def test_the_next_capture_opens_in_the_application(self):
        _, (record, entry) = self.install("application/vnd.tcpdump.pcap", "first", "second")
        program, item = self.start_idle()
        window = self.open(program, item, "General")
        self.press(window, "Open in", RADIO)
        self.wait_for_stored(OpenInApplication=1, DoNothing=0)
        self.assertEqual(self.combo(window, "Application that opens captures").name, "First (first)")
        self.windows.focus(self.control(window, RADIO, "Open in"))
        self.desktop.type_at_window(program, "Tab")
        self.desktop.type_at_window(program, "Down")
        self.wait_for_stored(OpenInApplicationPath=str(entry))
        path = self.capture(item)
        self.stop(program, item)
        self.assertEqual(self.recorded(record), str(self.saved(path)))

    def test_the_next_capture_asks_for_a_script(self):
        program, item = self.start_idle()
        window = self.open(program, item, "General")
        self.press(window, "Run a script", RADIO)
        self.wait_for_stored(RunScript=1, DoNothing=0)
        path = self.capture(item)
        self.stop(program, item)
        self.desktop.window(program, f"Launch script for {self.saved(path)}")

    def test_the_next_capture_is_saved_silently(self):
        program, item = self.start_idle()
        window = self.open(program, item, "General")
        self.press(window, "Tell me when a capture has been saved", CHECK_BOX)
        self.wait_for_stored(ShowCaptureCompleteNotification=0)
        path = self.capture(item)
        self.stop(program, item)
        self.saved(path)
        self.quit(program, item)
        self.assertEqual(self.notifications(), [])


class Networks(EffectsTest):
    def test_hopping_leaves_the_network_unasked(self):
        program, item = self.start_idle()
        window = self.open(program, item, "Advanced")
        self.press(window, ASK_FIRST, CHECK_BOX)
        self.wait_for_stored(ShowDisconnectAlert=0)
        self.capture(item, CAPTURE_ALL_2)
        self.stop(program, item)
        item.wait_for_entry(DISCONNECT)

    def test_the_current_channel_is_captured_without_the_network(self):
        program, item = self.start_idle()
        window = self.open(program, item, "Advanced")
        self.capture(item)
        item.entry(DISCONNECT)
        self.stop(program, item)
        self.press(window, LEAVE_TOO, CHECK_BOX)
        self.wait_for_stored(AlwaysDisconnect=1)
        self.capture(item)
        item.wait_for_entry("Status: Not associated", enabled=False)
        self.stop(program, item)
        item.wait_for_entry(DISCONNECT)


class Frames(EffectsTest):
    def captured(self, program, item):
        path = self.capture(item)
        self.stop(program, item)
        return self.saved(path)

    def lengths(self, path):
        """Of the data frames with a payload: how long each was, and how much of it was kept."""
        return list(zip(map(int, field(path, "frame.len", "wlan.fc.type_subtype == 0x28")),
                        map(int, field(path, "frame.cap_len", "wlan.fc.type_subtype == 0x28"))))

    def test_data_frames_of_the_next_capture_are_cut(self):
        program, item = self.start_idle()
        window = self.open(program, item, "Advanced")
        whole = self.lengths(self.captured(program, item))
        self.assertTrue(whole)
        self.assertTrue(all(kept == length for length, kept in whole), whole)
        self.press(window, "Keep only the headers of data frames", CHECK_BOX)
        self.wait_for_stored(EnableAdaptivePacketSlicing=1)
        path = self.captured(program, item)
        cut = self.lengths(path)
        self.assertTrue(cut, packets(path))
        self.assertTrue(any(kept < length for length, kept in cut), cut)

    def test_custom_channels_are_chosen_in_the_pane(self):
        program, item = self.start_idle()
        window = self.open(program, item, "Advanced")
        self.press(window, "Choose…")
        panel = self.desktop.window(program, "Choose Channels")
        for name in ("Channel 1", "Channel 6"):
            self.press(panel, name, CHECK_BOX)
        self.press(panel, "OK")
        self.wait_for_stored(CustomChannelList=[1, 6])
        wait_for(lambda: "1, 6" in self.windows.texts_in(window), "the list in the pane", poll_ms=POLL_MS)
        item.entry(DISCONNECT)  # it was chosen, not captured


class Help(EffectsTest):
    def test_each_button_opens_its_page(self):
        (record, _), = self.install("x-scheme-handler/https", "browser")
        program, item = self.start_idle()
        window = self.open(program, item, "Services")
        self.control(window, BUTTONS, "Help…")
        buttons = [node for node in self.windows.contents(window) if node.role in BUTTONS and node.name == "Help…"]
        for button, service in zip(buttons, ("CloudShark", "Mojo Packets"), strict=True):
            self.assertEqual(self.windows.description(button), f"Opens the help of {service} in the browser")
            self.windows.act(button)
            host = service.lower().replace(" ", "")
            self.assertRegex(self.recorded(record), rf"^https://{host}\.example/")


if __name__ == "__main__":
    sys.exit(application.main(sys.modules[__name__]))
