"""Whether the application answers while it captures at full speed: round trips to its main thread, over AT-SPI to the
progress panel and over D-Bus to the tray menu, in a desktop of its own."""
import json
import sys
import time
from pathlib import Path

from programs import Failed, commands, table

DESKTOP = Path(__file__).resolve().parents[1] / "tests/desktop"
FRAMES_A_SECOND = 200_000
ROUND_TRIPS = 300
PAUSE = 0.02  # seconds between them, so that they fall on every phase of the refreshes
LIMIT_MS = 100
CAPTURE = "Capture on Current Channel"


def percentile(values, share):
    return sorted(values)[min(len(values) - 1, int(len(values) * share))]


def measure(ask):
    times = []
    for _ in range(ROUND_TRIPS):
        start = time.monotonic()
        ask()
        times.append((time.monotonic() - start) * 1000)
        time.sleep(PAUSE)
    return times


def frames_in(panel):
    """The number of frames that the panel tells."""
    return int(panel[1][0].split(":")[1].split()[0])


def captured(desktop, program, item, load):
    """Milliseconds of each round trip by what was asked, and the frames a second meanwhile."""
    if load:
        item.click(CAPTURE)
        window = desktop.window(program, "Capturing on Channel ")
    else:  # something else that AT-SPI can ask for
        item.click("About Vantrel")
        window = desktop.window(program, "About Vantrel")
    before, start = (frames_in(desktop.panel(program)), time.monotonic()) if load else (0, 0)
    times = {"window, AT-SPI": measure(lambda: desktop.windows.title(window)),
             "menu, D-Bus": measure(lambda: item.entries(1))}
    speed = (frames_in(desktop.panel(program)) - before) / (time.monotonic() - start) if load else 0
    if load:
        desktop.press_in_panel(program, "Cancel")
        item.wait_for_entry("Quit")
    return times, speed


def run(build, load):
    sys.path.append(str(DESKTOP))
    from harness import Desktop, Unavailable
    try:
        with Desktop() as desktop:
            settings = desktop.folder / "config/vantrel/settings.json"
            settings.parent.mkdir(mode=0o700)
            settings.write_text(json.dumps({"FirstTimeCapture": 0}))
            program = desktop.start([str(build / "bin/vantrel")], VANTREL_RADIO="simulated",
                                    VANTREL_RADIO_LOAD=str(load))
            item = desktop.wait_for_item(program)
            item.wait_for_entry("Disconnect from Vantrel Lab")
            return captured(desktop, program, item, load)
    except Unavailable as reason:
        raise Failed(f"no desktop here: {reason}") from reason


def section(build):
    rows = []
    for load in (0, FRAMES_A_SECOND):
        times, speed = run(build, load)
        rows += [[what, f"{speed:,.0f}", f"{percentile(values, 0.5):.1f}", f"{percentile(values, 0.95):.1f}",
                  f"{max(values):.1f}", str(LIMIT_MS) if load else ""] for what, values in times.items()]
    return [f"{ROUND_TRIPS} questions to the main thread each, {PAUSE * 1000:.0f} ms apart, at rest and while it "
            "captures: the title of the progress panel (at rest, of the about panel), and the menu without its submenus. "
            "The limit is for the 95th percentile.", "",
            *commands(["bench/run.py --build build/release --only responsiveness"]), "",
            *table(["asked", "frames a second", "median ms", "95 % ms", "longest ms", "limit"], rows)]
