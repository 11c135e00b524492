"""The preferences window and the panel of custom channels on a real desktop, used as a screen reader does it: what each
control writes, as the settings file tells it, and what the next capture makes of it."""
import re
import stat
import sys

import application
from application import CAPTURE, CAPTURE_ALL_5, DISCONNECT, POLL_MS, AppTest
from bus import wait_for
from windows import BUTTONS, STATE_CHECKED, STATE_SENSITIVE

TITLE = "Vantrel Preferences"
CHECK_BOX = ("check box",)  # as Qt names the items of the tool bar too
RADIO = ("radio button",)
TEXT = ("text", "password text")
COMBO = ("combo box",)
HOSTILE = {"long": 10_000 * "x", "newlines": "a\nb\r\nc", "right to left": "\u202eabc\u202c \u05d0\u05d1",
           "quotes": "\"'`\\\";{}$(id)", "markup": "<b>&amp;</b>"}


class PreferencesTest(AppTest):
    @property
    def windows(self):
        return self.desktop.windows

    def open(self, program, item, pane=None, title=TITLE, command="Preferences…"):
        item.click(command)
        window = self.desktop.window(program, title)
        if pane is not None:
            self.show_pane(window, pane)
        return window

    def show_pane(self, window, pane):
        tab = self.windows.control(window, CHECK_BOX, pane)
        if not self.windows.has_state(tab, STATE_CHECKED):
            self.windows.act(tab)
        wait_for(lambda: self.stored().get("MASPreferences Selected Identifier View") == pane, f"the pane {pane}",
                 poll_ms=POLL_MS)

    def control(self, window, roles, name):
        return wait_for(lambda: self.shown(window, roles, name), f"the {roles[0]} {name!r}", poll_ms=POLL_MS)

    def shown(self, window, roles, name):
        return next((node for node in self.windows.contents(window) if node.role in roles and node.name == name), None)

    def press(self, window, name, roles=BUTTONS):
        self.windows.act(self.control(window, roles, name))

    def enter(self, window, name, text):
        field = self.control(window, TEXT, name)
        self.windows.set_text(field, text)
        return field

    def wait_for_stored(self, **expected):
        wait_for(lambda: {key: self.stored().get(key) for key in expected} == expected, f"{expected} in the settings",
                 poll_ms=POLL_MS)

    def leave_field(self, window, program):
        """Ends the edit of the field that may have the keyboard."""
        self.desktop.type_at_window(program, "Return")

    def channels_seen(self, item, wanted, forbidden=frozenset()):
        """Waits until the tool tip has told all these channels; fails at one that is forbidden."""
        seen = set()

        def look():
            match = re.match(r"Vantrel: (\d+) \(", item.tool_tip)
            if match:
                seen.add(int(match.group(1)))
            self.assertFalse(seen & forbidden)
            return seen >= wanted
        wait_for(look, f"captures on {wanted}", 20, POLL_MS)


class Boxes(PreferencesTest):
    def test_each_box_writes_its_setting(self):
        self.store(LimitCaptureFile=1, MaxCaptureFiles=3)
        program, item = self.start_idle()
        boxes = {"General": {"Limit each file to": ("LimitCaptureFile", 0),
                             "Close the script's window at the end": ("ScriptPanelAutoClose", 0),
                             "Warn when a script prints nothing": ("SuppressNoOutputAlert", 1),
                             "Tell me when a capture has been saved": ("ShowCaptureCompleteNotification", 0),
                             "Show the channel": ("DisplayChannel", 0),
                             "Show the channel width": ("DisplayChannelWidth", 0)},
                 "Advanced": {"U-NII-1 (channels 36 to 48)": ("CaptureUNII1", 0),
                              "U-NII-2 (channels 52 to 64)": ("CaptureUNII2", 1),
                              "U-NII-2 extended (channels 100 to 144)": ("CaptureUNII2e", 1),
                              "U-NII-3 (channels 149 to 165)": ("CaptureUNII3", 0),
                              "Ask before leaving a network to hop or tune": ("ShowDisconnectAlert", 0),
                              "Leave the network for a capture on the current channel too": ("AlwaysDisconnect", 1),
                              "Keep only the headers of data frames": ("EnableAdaptivePacketSlicing", 1)}}
        window = self.open(program, item)
        self.press(window, "Keep capturing when all files are full", CHECK_BOX)
        self.wait_for_stored(RotateCaptureFiles=0)
        for pane, controls in boxes.items():
            self.show_pane(window, pane)
            for name, (key, value) in controls.items():
                self.press(window, name, CHECK_BOX)
                self.wait_for_stored(**{key: value})
            self.assertEqual(self.desktop.nameless(program), [])

    def test_after_saving(self):
        program, item = self.start_idle()
        window = self.open(program, item, "General")
        for name, expected in {"Open in": (0, 1, 0), "Run a script": (0, 0, 1), "Do nothing more": (1, 0, 0)}.items():
            self.press(window, name, RADIO)
            self.wait_for_stored(**dict(zip(("DoNothing", "OpenInApplication", "RunScript"), expected)))

    def test_the_tray_follows_at_once(self):
        self.store(DisplayChannel=0, DisplayChannelWidth=0)
        program = self.start()
        item = self.desktop.wait_for_item(program)
        item.wait_for_tool_tip("Vantrel (simulated)")
        window = self.open(program, item, "General")
        self.press(window, "Show the channel", CHECK_BOX)
        item.wait_for_tool_tip("Vantrel: 36 (simulated)")
        self.press(window, "Show the channel width", CHECK_BOX)
        item.wait_for_tool_tip("Vantrel: 36 (80 MHz) (simulated)")


class Fields(PreferencesTest):
    def test_limits_hold_for_the_next_capture(self):
        program, item = self.start_idle()
        window = self.open(program, item, "General")
        self.press(window, "Limit each file to", CHECK_BOX)
        self.wait_for_stored(LimitCaptureFile=1)
        for entered, kept in {"0": 1, "250": 100, "": 1, "3": 3}.items():
            field = self.enter(window, "Number of files", entered)
            self.wait_for_stored(MaxCaptureFiles=kept)
            wait_for(lambda: self.windows.text(field) == str(kept), f"{kept} in the field", poll_ms=POLL_MS)
        self.enter(window, "Limit of a capture file", "200000")
        self.wait_for_stored(LimitCaptureFileValue=200000)
        self.windows.focus(self.control(window, TEXT, "Limit of a capture file"))
        self.desktop.type_at_window(program, "Tab")
        self.desktop.type_at_window(program, "End")
        self.wait_for_stored(LimitCaptureFileUnits=4)
        item.click(CAPTURE)
        wait_for(lambda: self.desktop.panel(program)[1][0].startswith("File 1 out of 3, frames: "),
                 "a capture of several files", poll_ms=POLL_MS)
        self.desktop.press_in_panel(program, "Cancel")

    def test_a_letter_is_refused_as_it_is_typed(self):
        program, item = self.start_idle()
        window = self.open(program, item, "Advanced")
        field = self.control(window, TEXT, "Time on each channel")
        self.windows.focus(field)
        for key in ("ctrl+a", "7", "a", "minus", "0", "period", "0"):
            self.desktop.type_at_window(program, key)
        wait_for(lambda: self.windows.text(field) == "700", "only digits in the field", poll_ms=POLL_MS)
        self.leave_field(window, program)
        self.wait_for_stored(DwellTime=700)

    def test_dwell_time(self):
        program, item = self.start_idle()
        window = self.open(program, item, "Advanced")
        for entered, kept in {"50": 100, "100": 100, "": 100, "99": 100, "300": 300}.items():
            field = self.enter(window, "Time on each channel", entered)
            self.wait_for_stored(DwellTime=kept)
            wait_for(lambda: self.windows.text(field) == str(kept), f"{kept} in the field", poll_ms=POLL_MS)

    def test_bands_hold_for_the_next_capture(self):
        self.store(DwellTime=100, ShowDisconnectAlert=0)
        program, item = self.start_idle()
        window = self.open(program, item, "Advanced")
        for name in ("U-NII-1 (channels 36 to 48)", "U-NII-2 (channels 52 to 64)", "U-NII-3 (channels 149 to 165)"):
            self.press(window, name, CHECK_BOX)
        self.wait_for_stored(CaptureUNII1=0, CaptureUNII2=1, CaptureUNII3=0)
        item.click(CAPTURE_ALL_5)
        item.wait_for_entry("Quit", enabled=False)
        self.channels_seen(item, {52, 56, 60, 64}, forbidden={40, 44, 48, 100, 149, 153, 165})
        self.desktop.press_in_panel(program, "Cancel")


class Services(PreferencesTest):
    SECRETS = {"CloudShark API token": "CloudSharkApplianceAPIToken", "Mojo Packets API key": "MojoPacketsAPIKey"}
    FIELDS = SECRETS | {"CloudShark address": "CloudSharkApplianceURL", "Mojo Packets address": "MojoPacketsServiceURL",
                        "Mojo Packets e-mail": "MojoPacketsEmail"}

    def test_hostile_texts_survive(self):
        program, item = self.start_idle()
        window = self.open(program, item, "Services")
        for text in HOSTILE.values():
            for name, key in self.FIELDS.items():
                self.enter(window, name, text)
            # The field that had the keyboard all along is written with the others.
            self.leave_field(window, program)
            self.wait_for_stored(**{key: text for key in self.FIELDS.values()})
        self.assertNotIn(HOSTILE["long"], self.log())
        file = self.desktop.folder / "config/vantrel/settings.json"
        self.assertEqual(stat.S_IMODE(file.stat().st_mode), 0o600)

    def test_secrets_are_masked(self):
        program, item = self.start_idle()
        window = self.open(program, item, "Services")
        for name, key in self.SECRETS.items():
            field = self.enter(window, name, "sesame")
            self.leave_field(window, program)
            self.wait_for_stored(**{key: "sesame"})
            self.assertNotIn("sesame", self.windows.text(field))
            self.press(window, f"Show: {name}", CHECK_BOX + BUTTONS)
            wait_for(lambda: self.windows.text(self.control(window, TEXT, name)) == "sesame", "the text",
                     poll_ms=POLL_MS)
        self.assertNotIn("sesame", self.log())

    def test_addresses_are_judged_and_kept(self):
        program, item = self.start_idle()
        window = self.open(program, item, "Services")
        field = self.enter(window, "CloudShark address", "captures.test")
        self.leave_field(window, program)
        self.wait_for_stored(CloudSharkApplianceURL="captures.test")
        wait_for(lambda: self.windows.description(field) == "Begin the address with https:// or http://.", "the mark",
                 poll_ms=POLL_MS)
        self.assertIn("This address is a placeholder and reaches nobody. Enter the address of the service you use.",
                      self.windows.texts_in(window))

    def test_all_are_written_when_the_window_is_closed(self):
        program, item = self.start_idle()
        self.open(program, item, "Services")
        self.desktop.type_at_window(program, "Escape")
        self.desktop.wait_for_no_window(program, TITLE)
        self.wait_for_stored(CloudSharkApplianceAPIToken="", MojoPacketsEmail="", MojoPacketsAPIKey="")

    def test_what_was_typed_is_kept_when_the_program_ends(self):
        def typed(text):
            program, item = self.start_idle()
            window = self.open(program, item, "Services")
            field = self.control(window, TEXT, "Mojo Packets e-mail")
            self.windows.focus(field)
            self.desktop.type_at_window(program, "ctrl+a")
            self.desktop.type_at_window(program, text)
            wait_for(lambda: self.windows.text(field) == text, "the text in the field", poll_ms=POLL_MS)
            self.assertNotEqual(self.stored().get("MojoPacketsEmail"), text)
            return program, item
        program, item = typed("q")
        self.quit(program, item)
        self.assertEqual(self.stored()["MojoPacketsEmail"], "q")
        program, item = typed("t")
        program.terminate()
        self.ends_in_order(program)
        self.assertEqual(self.stored()["MojoPacketsEmail"], "t")

    def test_a_token_makes_the_location_available(self):
        program, item = self.start_idle()
        window = self.open(program, item, "General")
        before = self.shown(window, COMBO, "Desktop")
        names = [node.name for node in self.windows._with_contents([before])]
        self.assertIn("CloudShark (not configured)", names)
        self.show_pane(window, "Services")
        self.enter(window, "CloudShark API token", "t")
        self.leave_field(window, program)
        self.wait_for_stored(CloudSharkApplianceAPIToken="t")
        self.show_pane(window, "General")
        self.windows.focus(self.control(window, BUTTONS, "Show"))
        self.desktop.type_at_window(program, "shift+Tab")
        self.desktop.type_at_window(program, "Down")
        self.wait_for_stored(CaptureFilesLocation="AskForEachCapture")
        self.desktop.type_at_window(program, "Down")
        self.wait_for_stored(CaptureFilesLocation="CloudShark")

    def test_configure_services_opens_its_pane(self):
        program, item = self.start_idle()
        upload = next(entry.label for entry in item.entries() if entry.label.startswith("Upload"))
        item.click(upload, "Configure Services…")
        window = self.desktop.window(program, TITLE)
        self.control(window, TEXT, "Mojo Packets e-mail")


class CustomChannels(PreferencesTest):
    def test_a_capture_on_chosen_channels(self):
        self.store(DwellTime=100, ShowDisconnectAlert=0)
        program, item = self.start_idle()
        item.click("Capture Custom Channels…")
        panel = self.desktop.window(program, "Choose Channels")
        missing = self.control(panel, CHECK_BOX, "Channel 14")
        self.assertFalse(self.windows.has_state(missing, STATE_SENSITIVE))
        self.assertEqual(self.windows.description(missing), "This adapter does not have channel 14.")
        for name in ("Channel 1", "Channel 6", "Channel 149"):
            self.press(panel, name, CHECK_BOX)
        self.assertEqual(self.desktop.nameless(program), [])
        self.press(panel, "OK")
        self.wait_for_stored(CustomChannelList=[1, 6, 149])
        item.wait_for_entry("Quit", enabled=False)
        self.channels_seen(item, {1, 6, 149}, forbidden={2, 11, 40, 153})
        self.desktop.press_in_panel(program, "Cancel")
        item.wait_for_entry("Quit")
        window = self.open(program, item, "Advanced")
        self.assertIn("1, 6, 149", self.windows.texts_in(window))

    def test_cancel_captures_nothing(self):
        self.store(CustomChannelList=[1, 6])
        program, item = self.start_idle()
        item.click("Capture Custom Channels…")
        panel = self.desktop.window(program, "Choose Channels")
        self.assertTrue(self.windows.has_state(self.control(panel, CHECK_BOX, "Channel 6"), STATE_CHECKED))
        self.press(panel, "Select None")
        self.press(panel, "Cancel")
        self.desktop.wait_for_no_window(program, "Choose Channels")
        self.assertEqual(self.stored()["CustomChannelList"], [1, 6])
        item.wait_for_entry("Quit")
        item.entry(DISCONNECT)


class Window(PreferencesTest):
    def geometry(self, program):
        """The place of the frame's corner and the size of what the frame holds, as the window manager has them."""
        window = self.desktop.xdotool("search", "--onlyvisible", "--name", f"^{TITLE}$").split()[0]
        shell = self.desktop.xdotool("getwindowgeometry", "--shell", window)
        return window, tuple(int(re.search(rf"^{name}=(-?\d+)$", shell, re.MULTILINE).group(1))
                             for name in ("X", "Y", "WIDTH", "HEIGHT"))

    def test_state_survives_a_restart(self):
        program, item = self.start_idle()
        self.open(program, item, "Services")
        window, _ = self.geometry(program)
        self.desktop.xdotool("windowsize", window, 800, 620)
        self.desktop.xdotool("windowmove", window, 200, 90)
        wait_for(lambda: self.geometry(program)[1][2:] == (800, 620), "the size", poll_ms=POLL_MS)
        wait_for(lambda: re.fullmatch(r"\{\{0, 0\}, \{800, \d+\}\}",
                                      self.stored().get("MASPreferences Services Frame", "")), "the size in the settings",
                 poll_ms=POLL_MS)
        wait_for(lambda: re.fullmatch(r"\{\d+, \d+\}", self.stored().get("MASPreferences Frame Top Left", "")),
                 "the place in the settings", poll_ms=POLL_MS)
        before = self.geometry(program)[1]
        stored = self.stored()
        self.quit(program, item)
        for _restart in range(2):
            program, item = self.start_idle()
            item.click("Preferences…")
            shown = self.desktop.window(program, TITLE)
            self.control(shown, TEXT, "Mojo Packets e-mail")
            wait_for(lambda: self.geometry(program)[1] == before,
                     f"{before} (it is {self.geometry(program)[1]})", poll_ms=POLL_MS)
            self.quit(program, item)
        for key in ("MASPreferences Services Frame", "MASPreferences Frame Top Left",
                    "MASPreferences Selected Identifier View"):
            self.assertEqual(self.stored()[key], stored[key])

    def test_keys(self):
        program, item = self.start_idle()
        window = self.open(program, item, "General")
        self.desktop.type_at_window(program, "ctrl+2")
        self.control(window, TEXT, "Time on each channel")
        self.desktop.type_at_window(program, "alt+2")
        self.wait_for_stored(CaptureUNII2=1)
        self.desktop.type_at_window(program, "Escape")
        self.desktop.wait_for_no_window(program, TITLE)
        self.open(program, item)

    def test_german(self):
        program = self.start(LC_ALL="de_DE.UTF-8", LANGUAGE="de")
        item = self.desktop.wait_for_item(program)
        window = self.open(program, item, title="Vantrel-Einstellungen",
                           command=next(entry.label for entry in item.entries()
                                        if entry.label in ("Preferences…", "Einstellungen …")))
        self.assertIn("Nach dem Speichern:", self.windows.texts_in(window))
        self.assertEqual(self.desktop.nameless(program), [])


if __name__ == "__main__":
    sys.exit(application.main(sys.modules[__name__]))
