#!/usr/bin/python3
"""Shows the application at work where there is no display: starts it in a desktop of its own, captures through its tray
menu, and leaves the capture file and a screenshot behind.

    run_demo.py --output FOLDER [--watch FILE] -- PROGRAM [ARGUMENT…]

Status 0 when everything worked, 77 when this machine cannot show a desktop, 1 otherwise.
"""
import argparse
import os
import shutil
import signal
import subprocess
import sys
from pathlib import Path

from bus import TimedOut, wait_for
from gi.repository import GLib
from harness import Desktop, Unavailable

ENOUGH_BYTES = 8 * 1024
CAPTURE_SECONDS = 60.0
QUIT_SECONDS = 20.0
# A file that grows is watched by its size: when the watch begins, neither it nor its folder may exist.
POLL_MS = 100
CAPTURE = "Capture on Current Channel"
SHOWN_OF_CAPINFOS = ("File encapsulation", "Number of packets", "File size", "Capture duration")


class Failed(Exception):
    """A step did not work; the text says which."""


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--output", type=Path, required=True, help="folder for the capture file and the screenshot")
    parser.add_argument("--watch", type=Path, help="the capture file, if it is not *.pcap in the temporary folder")
    parser.add_argument("program", nargs="+", help="the application and its arguments")
    return parser.parse_args()


def capture_file(desktop, watch):
    """The newest capture file, or None while there is none: in the temporary folder, or where the user finds it."""
    folders = (desktop.temporary / f"vantrel-{os.getuid()}", desktop.folder / "home")
    files = [watch] if watch else [path for folder in folders for path in folder.rglob("*.pcap")]
    existing = [(path.stat().st_mtime, path) for path in files if path.exists()]
    return max(existing)[1] if existing else None


def wait_for_frames(desktop, program, watch):
    def grown():
        if program.poll() is not None:
            raise Failed(f"the application ended with status {program.returncode} during the capture")
        path = capture_file(desktop, watch)
        return path if path and path.stat().st_size >= ENOUGH_BYTES else None
    return wait_for(grown, "frames in the capture file", CAPTURE_SECONDS, POLL_MS)


def take_screenshot(desktop, path):
    """Of the panel with the open menu; without the menu if the panel does not open it."""
    try:
        desktop.open_tray_menu()
    except TimedOut as reason:
        print(f"The screenshot shows no menu: {reason}", file=sys.stderr)
        desktop.screenshot(path)
        return
    desktop.screenshot(path)
    desktop.close_menu()


def quit_through_menu(item, program):
    item.wait_for_entry("Quit")
    item.click("Quit")
    try:
        status = program.wait(QUIT_SECONDS)
    except subprocess.TimeoutExpired:
        raise Failed(f"the application still runs {QUIT_SECONDS:g} s after Quit") from None
    if status != 0:
        raise Failed(f"the application ended with status {status} after Quit")


def describe(path):
    """What capinfos says of the file, shortened."""
    if shutil.which("capinfos") is None:
        return "  (capinfos is not installed; package wireshark-common)"
    done = subprocess.run(["capinfos", "-E", "-c", "-s", "-u", str(path)], capture_output=True, text=True, timeout=60)
    if done.returncode != 0:
        raise Failed(f"capinfos does not accept the capture file: {done.stderr.strip()}")
    lines = [line for line in done.stdout.splitlines() if line.startswith(SHOWN_OF_CAPINFOS)]
    return "\n".join(f"  {line}" for line in lines)


def demonstrate(desktop, program, options):
    item = desktop.wait_for_item(program)
    for line in desktop.log("program").splitlines():
        if "simulated radio:" in line:
            print(f"Simulated radio:{line.partition('simulated radio:')[2]}")
    print(f"The tray item is there: {item.tool_tip}")
    item.wait_for_entry(CAPTURE)
    item.click(CAPTURE)
    print(f"The first capture is told of its place: {desktop.alert(program)[0]}")
    desktop.press(program, "Start Capture")
    item.wait_for_entry("Quit", enabled=False)
    wait_for_frames(desktop, program, options.watch)
    options.output.mkdir(parents=True, exist_ok=True)
    picture = options.output / "screenshot.png"
    take_screenshot(desktop, picture)
    desktop.press_in_panel(program, "Stop")
    item.wait_for_entry(CAPTURE)
    source = capture_file(desktop, options.watch)
    if source is None:
        raise Failed("the capture file is gone after the capture")
    kept = options.output / source.name
    shutil.copyfile(source, kept)
    print(f"Capture file: {kept.resolve()}\n{describe(kept)}")
    print(f"Screenshot: {picture.resolve()}")
    quit_through_menu(item, program)
    print("The application has quit.")


def main():
    options = arguments()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # so that the desktop ends with us
    try:
        with Desktop() as desktop:
            try:
                program = desktop.start([str(Path(options.program[0]).resolve()), *options.program[1:]])
                demonstrate(desktop, program, options)
            except (Failed, TimedOut, LookupError, OSError, RuntimeError, GLib.Error) as reason:
                print(f"This did not work: {reason}\nThe application's log:\n{desktop.log('program')}", file=sys.stderr)
                return 1
    except Unavailable as reason:
        print(f"No desktop can be shown here: {reason}")
        return 77
    return 0


if __name__ == "__main__":
    sys.exit(main())
