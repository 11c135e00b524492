"""Asks the application's main thread over and over, in a process of its own, and tells how long each answer took.

    answers.py BUS_ADDRESS PID     until its standard input ends; lines of CSV: seconds, what was asked, milliseconds

The menu is asked of the tray item as its host does it, the window of the accessibility bus as a screen reader does it.
"""
import os
import select
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "desktop"))
from gi.repository import GLib  # noqa: E402

import tray  # noqa: E402
from bus import Bus  # noqa: E402
from windows import ACCESSIBLE, REGISTRY, ROOT  # noqa: E402

PAUSE = 0.1
MENU, WINDOW = "menu, D-Bus", "window, AT-SPI"


def application(accessibility, pid):
    """The name under which the process stands on the accessibility bus."""
    for service, _path in accessibility.call(REGISTRY, ROOT, ACCESSIBLE, "GetChildren")[0]:
        try:
            if accessibility.process_of(service) == pid:
                return service
        except GLib.Error:  # it has just gone
            continue
    raise LookupError(f"process {pid} is not on the accessibility bus")


def main():
    session, pid = Bus(sys.argv[1]), int(sys.argv[2])
    address, = session.call_starting("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress")
    accessibility = Bus(address)
    service = application(accessibility, pid)
    item = tray.find(session, {pid})
    questions = {MENU: lambda: item.entries(1),
                 WINDOW: lambda: accessibility.property(service, ROOT, ACCESSIBLE, "Name")}
    start = time.monotonic()
    while not select.select([sys.stdin], [], [], PAUSE)[0]:
        for name, ask in questions.items():
            asked = time.monotonic()
            try:
                ask()
            except GLib.Error:  # no answer within the bus's own time limit
                if not os.path.exists(f"/proc/{pid}"):
                    return
            answered = time.monotonic()
            print(f'{asked - start:.3f},"{name}",{(answered - asked) * 1000:.2f}', flush=True)


if __name__ == "__main__":
    main()
