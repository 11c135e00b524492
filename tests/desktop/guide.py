"""The pictures of the user's guide, each function some of them; screenshots.py --guide takes them."""
import re
import subprocess
import time
from pathlib import Path

from bus import wait_for
from windows import BUTTONS, STATE_CHECKED

POLL_MS = 100
FRAME = (1, 20, 6)  # of a window: pixels at its sides, above it and below it
FEED_SECONDS = 10  # in which every network is heard; a terminal tells nobody what it shows
CAPTURE = "Capture on Current Channel"
TERMINAL_LOOK = ["-geometry", "96x24", "-fa", "DejaVu Sans Mono", "-fs", "10", "-bg", "#ffffff", "-fg", "#222222"]
QUIET = {"FirstTimeCapture": 0, "DoNothing": 1, "OpenInApplication": 0}
LIMITED = {"LimitCaptureFile": 1, "LimitCaptureFileUnits": 1, "LimitCaptureFileValue": 10}
SERVICE = {"CloudSharkApplianceURL": "https://captures.test", "CloudSharkApplianceAPIToken": "0123456789abcdef"}
SCRIPT = """import subprocess, sys
print(subprocess.run(["capinfos", "-E", "-c", "-u", sys.argv[1]], capture_output=True, text=True).stdout)
"""


def show_menu(session, program):
    """The menu that the program draws itself."""
    session.desktop.start(session.command, **session.environment).wait(20)
    session.desktop.wait_for_window(program)


def menus(session):
    desktop = session.desktop
    program, _item = session.start()
    desktop.open_tray_menu()
    session.take_tray("tray")
    desktop.close_menu()
    desktop.xdotool("mousemove", 40, 60)
    show_menu(session, program)
    for name, key in {"channel-5": "5", "link-layer": "l"}.items():
        desktop.type_at_menu(key, lambda: desktop.count_windows(program) > 1, f"the submenu {name}")
        session.take(name)
        desktop.xdotool("key", "Left")
        wait_for(lambda: desktop.count_windows(program) == 1, f"the submenu {name} to close", poll_ms=POLL_MS)
    desktop.close_menu(program)
    session.end(program)


def questions(session):
    desktop = session.desktop
    program, item = session.start(FirstTimeCapture=1)
    item.click("Capture All Channels")
    desktop.alert(program)
    session.take("disconnect")
    desktop.press(program, "No")
    session.end(program)


def frames_in(panel_texts):
    """The number of frames that the panel tells."""
    return int(re.search(r"[Ff]rames: (\d+)", panel_texts[1][0]).group(1))


def panel(session):
    desktop = session.desktop
    program, item = session.start(FirstTimeCapture=0, LimitCaptureFile=1, LimitCaptureFileUnits=4,
                                  LimitCaptureFileValue=2000, MaxCaptureFiles=3)
    item.click(CAPTURE)
    wait_for(lambda: frames_in(desktop.panel(program)) >= 700, "frames in the panel", poll_ms=POLL_MS)
    session.take("panel")
    desktop.press_in_panel(program, "Cancel")
    item.wait_for_entry("Quit")
    session.end(program)


def preferences(session):
    desktop = session.desktop
    windows = desktop.windows
    program, item = session.start(CustomChannelList=[1, 6, 11, 36, 149], **LIMITED, **SERVICE)
    item.click("Preferences…")
    window = desktop.window(program, "Vantrel Preferences")
    for tab in ("General", "Services", "Advanced"):
        control = windows.control(window, ("check box",), tab)
        windows.act(control)
        wait_for(lambda: windows.has_state(control, STATE_CHECKED), tab, poll_ms=POLL_MS)
        session.take(f"preferences-{tab.lower()}")
    wait_for(lambda: "Choose…" in [node.name for node in windows.contents(window)], "the button", poll_ms=POLL_MS)
    windows.act(windows.control(window, BUTTONS, "Choose…"))
    chooser = desktop.window(program, "Choose Channels")
    x, y, width, height = windows.extents(chooser)
    left, top, bottom = FRAME
    session.take_part("custom-channels", x - left, y - top, width + 2 * left, height + top + bottom)
    session.end(program)


def german(session):
    program, item = session.start({"LANGUAGE": "de"}, **LIMITED)
    item.click("Einstellungen …")
    session.desktop.window(program, "Vantrel-Einstellungen")
    session.take("german")
    session.end(program)


def notification(session):
    desktop = session.desktop
    program, item = session.start(**QUIET)
    item.click(CAPTURE)
    wait_for(lambda: " KB" in desktop.panel(program)[1][0], "frames in the panel", poll_ms=POLL_MS)
    desktop.press_in_panel(program, "Stop")
    wait_for(lambda: shown_notifications(desktop), "a notification", poll_ms=POLL_MS)
    session.take("notification")
    subprocess.run(["dunstctl", "close-all"], env=desktop.env, check=True, timeout=20)
    session.end(program)


def shown_notifications(desktop):
    done = subprocess.run(["dunstctl", "count", "displayed"], env=desktop.env, capture_output=True, text=True,
                          check=True, timeout=20)
    return int(done.stdout) > 0


def upload(session):
    desktop = session.desktop
    windows = desktop.windows
    captures = desktop.folder / "home/Desktop"
    captures.mkdir(exist_ok=True)
    for name in ("lobby.pcap", "meeting-room.pcap", "warehouse.pcap"):
        (captures / name).write_bytes(bytes(24))
    program, item = session.start(**SERVICE)
    item.click("Upload Capture", "To CloudShark…")
    window = desktop.window(program, "Upload")
    for field, text in {"File name:": "lobby.pcap", "Tags": "lobby, wifi6", "Comments": "slow since noon"}.items():
        windows.set_text(windows.control(window, ("text",), field), text)
    session.take("upload")
    desktop.type_at_window(program, "Escape")
    session.end(program)


def script(session):
    desktop = session.desktop
    path = desktop.folder / "home/protocols.py"
    path.write_text(SCRIPT)
    program, item = session.start(**QUIET | {"DoNothing": 0, "RunScript": 1, "ScriptPanelAutoClose": 0,
                                            "ShowCaptureCompleteNotification": 0,
                                            "ScriptList": [str(path)], "LastUsedScript": str(path)})
    item.click(CAPTURE)
    wait_for(lambda: " KB" in desktop.panel(program)[1][0], "frames in the panel", poll_ms=POLL_MS)
    desktop.press_in_panel(program, "Stop")
    window = desktop.window(program, "Launch script for ")
    wait_for(lambda: "Launch" in [node.name for node in desktop.windows.contents(window)], "the button",
             poll_ms=POLL_MS)
    desktop.windows.press_in(window, "Launch")
    wait_for(lambda: list((desktop.folder / "home/Desktop").glob("*.out")), "the script's output", poll_ms=POLL_MS)
    session.take("script")
    session.end(program)


def feed(session):
    """A terminal in which the feed's client shows what its host hears."""
    desktop = session.desktop
    programs = Path(session.command[0]).parent
    host = desktop.start([str(programs / "vantrel-feedd"), "--simulated"], log="feedd",
                         VANTREL_RADIO_TRANSPORT="stream")
    port = wait_for(lambda: [line for line in desktop.log("feedd").splitlines() if line.startswith("port ")],
                    "the feed's port", poll_ms=POLL_MS)[0].split()[1]
    client = [str(programs / "vantrel-feed"), "--port", port]
    started = time.monotonic()
    terminal = desktop.start(["xterm", *TERMINAL_LOOK, "-T", "vantrel-feed", "-e", *client], log="terminal")
    wait_for(lambda: desktop.count_windows(terminal) > 0, "the terminal", poll_ms=POLL_MS)
    wait_for(lambda: time.monotonic() - started > FEED_SECONDS, "a sweep", poll_ms=POLL_MS)
    session.take("feed")
    for program in (terminal, host):
        session.end(program)


PARTS = (menus, questions, panel, preferences, german, upload, notification, script, feed)
