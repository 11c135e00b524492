"""The whole application on a desktop, captures started and stopped from its tray menu over D-Bus."""
import json
import sys
from pathlib import Path

from air import ACCESS_POINTS, LOWER, UPPER, bssid_of, monitors
from product import beacons, whole
from scenario import scenario
from system import LOGS, check

sys.path.append(str(Path(__file__).resolve().parents[2] / "desktop"))
from bus import wait_for  # noqa: E402  waits while the desktop's buses are served
from harness import Desktop  # noqa: E402

SECONDS = 60.0  # the machine is slow, and a desktop is large
POLL_MS = 500
CONNECTED = f"Do you want to disconnect from {LOWER.ssid}? Vantrel will attempt to reconnect after the capture is done."
DISCONNECT = f"Disconnect from {LOWER.ssid}"


@scenario("the application captures from its menu and gives the network back", 180, ("manager",))
def menu(lab):
    lab.at_rest()
    with Desktop() as desktop:
        settings = desktop.folder / "config/vantrel/settings.json"
        settings.parent.mkdir()
        settings.write_text(json.dumps({"FirstTimeCapture": 0, "DwellTime": 100}))
        program = desktop.start([str(lab.build / "bin/vantrel")])
        try:
            capture(lab, desktop, program)
        finally:
            (LOGS / "vantrel.log").write_text(desktop.log("program"))
    lab.at_rest()


def capture(lab, desktop, program):
    item = desktop.wait_for_item(program, SECONDS)
    item.wait_for_entry(DISCONNECT, timeout=SECONDS)
    item.click("Capture All Channels")
    texts = desktop.alert(program, SECONDS)
    check(CONNECTED in texts, f"the alert says {texts}")
    desktop.press(program, "Disconnect")
    item.wait_for_entry("Quit", enabled=False, timeout=SECONDS)
    check(bssid_of(lab.adapter) == "" and monitors(), "the adapter is not in use")

    def heard():
        found = beacons(desktop.temporary.rglob("*.pcap"))
        return all(point.bssid in found for point in ACCESS_POINTS)
    wait_for(heard, "beacons of both access points", SECONDS, POLL_MS)
    desktop.press_in_panel(program, "Stop", SECONDS)
    item.wait_for_entry("Quit", timeout=SECONDS)
    saved = desktop.folder / "home/Desktop"
    wait_for(lambda: any(saved.glob("*.pcap")), "the capture in its folder", SECONDS, POLL_MS)
    file, = saved.glob("*.pcap")
    check(whole(file) > 0, "the file is empty")
    lab.keep(file, {point.bssid: [point.frequency] for point in (LOWER, UPPER)})
    lab.note(f"associated again {lab.station.wait_until_associated():.1f} s after the capture")
    item.wait_for_entry(DISCONNECT, timeout=SECONDS)
    check(not monitors(), f"there is still {monitors()}")
    item.click("Quit")
    status = program.wait(SECONDS)
    check(status == 0, f"the application ended with status {status}: {desktop.log('program')[-500:]}")
