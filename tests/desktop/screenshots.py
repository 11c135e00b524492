#!/usr/bin/python3
"""Takes pictures of all that the application shows: menu, submenus, alerts and panels, light and dark, for usual and
for dense screens.

    screenshots.py --output FOLDER [--only light-1x] -- PROGRAM
    screenshots.py --output FOLDER --guide -- PROGRAM      the pictures of the user's guide, and no others

Status 0 when everything worked, 77 when this machine cannot show a desktop, 1 otherwise.
"""
import argparse
import json
import shutil
import subprocess
import sys
from pathlib import Path

import guide
from bus import TimedOut, wait_for
from gi.repository import GLib
from harness import BACKGROUND, PANEL_HEIGHT, Desktop, Unavailable
from windows import BUTTONS, STATE_CHECKED

LOOKS = {"light-1x": (False, 1), "light-2x": (False, 2), "dark-1x": (True, 1), "dark-2x": (True, 2)}
MARGIN = 12  # pixels of the background that stay around a picture
COLOURS = 128  # of a picture in the guide, which every reader of it loads
POLL_MS = 100
CAPTURE = "Capture on Current Channel"
# The key of each submenu in the menu that the application draws itself.
SUBMENUS = {"channel": "n", "width": "w", "link-layer": "l", "capture-2.4": "2", "capture-5": "5", "upload": "u"}
# By language: the command, the window's title, the names of the tabs and of the panel, and the button that opens it.
PREFERENCES = {"": ("Preferences…", "Vantrel Preferences",
                    ("General", "Advanced", "Services", "Choose Channels"), "Choose…"),
               "german": ("Einstellungen …", "Vantrel-Einstellungen",
                          ("Allgemein", "Erweitert", "Dienste", "Kanäle wählen"), "Wählen …")}
SAMPLE_SETTINGS = {"CustomChannelList": [1, 6, 11, 36, 149], "LimitCaptureFile": 1, "MaxCaptureFiles": 5,
                   "CloudSharkApplianceURL": "captures.test", "CloudSharkApplianceAPIToken": "0123456789abcdef"}
# What a desktop of dark windows keeps for its programs to read.
DARK = """[Colors:Window]
BackgroundNormal=42,46,50
ForegroundNormal=252,252,252
[Colors:View]
BackgroundNormal=27,30,32
BackgroundAlternate=35,38,41
ForegroundNormal=252,252,252
ForegroundLink=29,153,243
ForegroundVisited=155,89,182
[Colors:Button]
BackgroundNormal=49,54,59
ForegroundNormal=252,252,252
[Colors:Selection]
BackgroundNormal=61,174,233
ForegroundNormal=252,252,252
[Colors:Tooltip]
BackgroundNormal=49,54,59
ForegroundNormal=252,252,252
"""


class Session:
    """The application in a desktop of one look."""

    def __init__(self, desktop, options, name):
        self.desktop = desktop
        self.folder = options.output if options.guide else options.output / name
        self.folder.mkdir(parents=True, exist_ok=True)
        dark, self.scale = LOOKS[name]
        self.command = options.program
        self.environment = {"VANTREL_RADIO": "simulated", "VANTREL_RADIO_TRANSPORT": "stream",
                            "QT_SCALE_FACTOR": str(self.scale)}
        if dark:
            self.environment |= {"XDG_CURRENT_DESKTOP": "KDE", "KDE_FULL_SESSION": "true", "KDE_SESSION_VERSION": "5"}
            (desktop.folder / "config/kdeglobals").write_text(DARK)

    def start(self, environment=None, **settings):
        folder = self.desktop.folder / "config/vantrel"
        folder.mkdir(mode=0o700, exist_ok=True)
        (folder / "settings.json").write_text(json.dumps({"DisplayChannel": 1, "DisplayChannelWidth": 1} | settings))
        program = self.desktop.start(self.command, **(self.environment | (environment or {})))
        item = self.desktop.wait_for_item(program)
        item.wait_for_tool_tip("Vantrel: 36 (80 MHz) (simulated)")
        return program, item

    def end(self, program):
        program.terminate()
        program.wait(20)

    def take(self, name):
        """Of what stands below the panel, without the empty background."""
        path = self.desktop.screenshot(self.folder / f"{name}.png")
        subprocess.run(["mogrify", "-chop", f"0x{self.scale * (PANEL_HEIGHT + 1)}",
                        "-bordercolor", BACKGROUND, "-border", "1x1", "-fuzz", "1%", "-trim", "+repage", "-border", str(MARGIN), path], check=True, timeout=60)

    def take_tray(self, name):
        """Of the panel's menu with the tray."""
        path = self.desktop.screenshot(self.folder / f"{name}.png")
        subprocess.run(["mogrify", "-gravity", "NorthEast", "-crop", f"{340 * self.scale}x{630 * self.scale}+0+0",
                        "+repage", path], check=True, timeout=60)

    def take_part(self, name, x, y, width, height):
        """Of one place on the screen."""
        path = self.desktop.screenshot(self.folder / f"{name}.png")
        subprocess.run(["mogrify", "-crop", f"{width}x{height}+{x}+{y}", "+repage", path], check=True, timeout=60)


def menus(session):
    desktop = session.desktop
    program, item = session.start()
    desktop.open_tray_menu()
    session.take_tray("tray-menu")
    desktop.close_menu()
    desktop.xdotool("mousemove", 40, 60)
    second = desktop.start(session.command, **session.environment)
    second.wait(20)
    desktop.wait_for_window(program)
    session.take("menu")
    for name, key in SUBMENUS.items():
        desktop.type_at_menu(key, lambda: desktop.count_windows(program) > 1, f"the submenu {name}")
        session.take(f"menu-{name}")
        desktop.xdotool("key", "Left")
        wait_for(lambda: desktop.count_windows(program) == 1, f"the submenu {name} to close", poll_ms=POLL_MS)
    desktop.close_menu(program)
    item.click("Turn Wi-Fi Off")
    item.wait_for_entry("Turn Wi-Fi On")
    desktop.start(session.command, **session.environment).wait(20)
    desktop.wait_for_window(program)
    session.take("menu-off")
    session.end(program)


def alerts(session):
    desktop = session.desktop
    program, item = session.start(FirstTimeCapture=1)
    item.click("Capture All Channels")
    desktop.alert(program)
    session.take("alert-disconnect")
    desktop.press(program, "No")
    item.click(CAPTURE)
    desktop.alert(program)
    session.take("alert-first-capture")
    desktop.press(program, "Cancel")
    item.click("Disconnect from Vantrel Lab")
    item.wait_for_no_entry("Disconnect from Vantrel Lab")
    item.click("Capture on 5 GHz Channel", "165")  # where nobody sends
    item.wait_for_entry("Quit", enabled=False)
    desktop.press_in_panel(program, "Stop")
    desktop.alert(program)
    session.take("alert-no-frames")
    session.end(program)


def panels(session):
    desktop = session.desktop
    for name, settings in {"panel": {}, "panel-limited": {"LimitCaptureFile": 1, "LimitCaptureFileUnits": 4,
                                                          "LimitCaptureFileValue": 500, "MaxCaptureFiles": 3}}.items():
        program, item = session.start(FirstTimeCapture=0, **settings)
        item.click(CAPTURE)
        wait_for(lambda: " KB" in desktop.panel(program)[1][0], "frames in the panel", poll_ms=POLL_MS)
        session.take(name)
        desktop.press_in_panel(program, "Cancel")
        item.wait_for_entry("Quit")
        session.end(program)


def windows(session):
    desktop = session.desktop
    program, item = session.start()
    item.click("About Vantrel")
    desktop.window(program, "About Vantrel")
    session.take("about")
    session.end(program)
    desktop.stop_panel()
    program = desktop.start(session.command, **session.environment)
    desktop.windows.wait_for_window([program.pid], "Vantrel", 25)
    session.take("menu-window")
    session.end(program)
    desktop.start_panel()


def preferences(session, language="", **environment):
    """The panes and the panel of custom channels; in German with the names "german-..."."""
    desktop = session.desktop
    program, item = session.start(environment, **SAMPLE_SETTINGS)
    windows = desktop.windows
    opened, title, tabs, choose = PREFERENCES[language]
    item.click(opened)
    window = desktop.window(program, title)
    prefix = f"{language}-" if language else ""
    for name, tab in zip(("general", "advanced", "services"), tabs):
        windows.act(windows.control(window, ("check box",), tab))
        wait_for(lambda: windows.has_state(windows.control(window, ("check box",), tab), STATE_CHECKED), tab,
                 poll_ms=POLL_MS)
        session.take(f"{prefix}preferences-{name}")
    windows.act(windows.control(window, ("check box",), tabs[1]))
    wait_for(lambda: choose in [node.name for node in windows.contents(window)], choose, poll_ms=POLL_MS)
    windows.act(windows.control(window, BUTTONS, choose))
    desktop.window(program, tabs[3])
    session.take(f"{prefix}custom-channels")
    session.end(program)


def german(session):
    preferences(session, "german", LC_ALL="de_DE.UTF-8", LANGUAGE="de")


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--output", type=Path, required=True, help="folder for the pictures")
    parser.add_argument("--only", choices=LOOKS, help="one look instead of all")
    parser.add_argument("--guide", action="store_true", help="the pictures of the user's guide")
    parser.add_argument("program", nargs="+", help="the application and its arguments")
    options = parser.parse_args()
    options.program[0] = str(Path(options.program[0]).resolve())
    if options.guide and shutil.which("xterm") is None:
        print("Not installed: xterm (package xterm)")
        return 77
    parts = guide.PARTS if options.guide else (menus, alerts, panels, windows, preferences, german)
    for name in ["light-1x"] if options.guide else [options.only] if options.only else LOOKS:
        dark, scale = LOOKS[name]
        try:
            with Desktop(dark=dark, scale=scale) as desktop:
                try:
                    session = Session(desktop, options, name)
                    for part in parts:
                        part(session)
                except (TimedOut, LookupError, OSError, RuntimeError, GLib.Error) as reason:
                    print(f"This did not work ({name}): {reason}\n{desktop.log('program')}", file=sys.stderr)
                    return 1
        except Unavailable as reason:
            print(f"No desktop can be shown here: {reason}")
            return 77
        pictures = sorted(session.folder.glob("*.png"))
        if options.guide:
            subprocess.run(["mogrify", "-strip", "+dither", "-colors", str(COLOURS), *pictures], check=True, timeout=60)
        print(f"{session.folder.resolve()}: {len(pictures)} pictures")
    return 0


if __name__ == "__main__":
    sys.exit(main())
