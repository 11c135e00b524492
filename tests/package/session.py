"""An ordinary user's part of the package's test, run as that user: a desktop, the installed command, captures from its
tray menu. Prints what it saw as one JSON object.

    session.py captures KIND    a capture on the simulated radio, its frames coming in that way
    session.py adapter COMMAND BSSID…    a capture on the machine's adapter until it has heard a beacon of each, once the
                                command's question was answered with Disconnect
    session.py feed RADIO BSSID…    the feed's host and a client, until that has got a beacon of each; it says so, and waits
                                for the end of its input; the radio is "simulated" or "adapter"
    session.py alert            the first capture of somebody who may not
"""
import json
import os
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "desktop"))
from bus import wait_for  # noqa: E402
from harness import Desktop  # noqa: E402

COMMAND, FEEDD, FEED = "/usr/bin/vantrel", "/usr/bin/vantrel-feedd", "/usr/bin/vantrel-feed"
CAPTURE = "Capture on Current Channel"
SECONDS = 60.0
POLL_MS = 50
ENOUGH = 8 * 1024  # bytes
# Stands in for what opens a document: the desktop's own opener, with what it was started with on record.
OPENER = """#!/bin/sh
cat /proc/self/status >"$VANTREL_TEST_RECORD.part"
mv "$VANTREL_TEST_RECORD.part" "$VANTREL_TEST_RECORD"
"""
# The application that finished captures are opened in, as the settings of the user have it.
APPLICATION = """[Desktop Entry]
Type=Application
Name=Recorder
Exec=sh -c "cat /proc/self/status >%s.part && mv %s.part %s"
"""
# What the launcher must not pass on; none of it exists, so it does no harm where it is.
HOSTILE = {"QT_PLUGIN_PATH": "/nonexistent", "GIO_EXTRA_MODULES": "/nonexistent", "LIBGL_DRIVERS_PATH": "/nonexistent",
           "LD_LIBRARY_PATH": "/nonexistent"}


def capabilities(status):
    """{set: mask} of a file /proc/…/status."""
    lines = dict(line.split(":\t", 1) for line in status.splitlines() if ":\t" in line)
    return {name: int(lines[f"Cap{name}"], 16) for name in ("Inh", "Prm", "Eff", "Amb")}


def threads(pid):
    """[(name, capabilities)] of all threads of a process."""
    found = []
    for task in Path(f"/proc/{pid}/task").iterdir():
        try:
            found.append((task.joinpath("comm").read_text().strip(), capabilities((task / "status").read_text())))
        except OSError:
            continue  # it has ended
    return found


def children(pid):
    """[(name, capabilities)] of all children of a process."""
    found = []
    for task in Path(f"/proc/{pid}/task").iterdir():
        for child in (task / "children").read_text().split():
            status = Path(f"/proc/{child}/status").read_text()
            found.append((status.splitlines()[0].split("\t")[1], capabilities(status)))
    return found


class Session:
    """The program in a desktop, with the settings of the user's own home."""

    def __init__(self, desktop, **environment):
        self.desktop = desktop
        self.record = desktop.folder / "opened"
        tools = desktop.folder / "bin"
        tools.mkdir()
        (tools / "xdg-open").write_text(OPENER)
        (tools / "xdg-open").chmod(0o755)
        home = os.path.expanduser("~")
        self.opened = desktop.folder / "capture-opened"
        application = Path(home) / "opener.desktop"
        application.write_text(APPLICATION % (3 * (self.opened,)))
        self.program = desktop.start(
            [COMMAND], **HOSTILE, HOME=home, XDG_CONFIG_HOME=f"{home}/.config", XDG_STATE_HOME=f"{home}/.local/state",
            TMPDIR="/var/tmp", PATH=f"{tools}:{os.environ['PATH']}", VANTREL_TEST_RECORD=str(self.record), **environment)
        self.item = desktop.wait_for_item(self.program, SECONDS)
        self.item.wait_for_entry(CAPTURE, timeout=SECONDS)

    def files(self):
        """The capture files, where they wait to be brought to their place or were brought to."""
        folders = (Path(f"/var/tmp/vantrel-{os.getuid()}"), Path.home() / "Captures", Path.home() / "Desktop")
        return [path for folder in folders for path in folder.glob("*.pcap")]

    def wait_for_frames(self, size):
        """Waits until a running capture has written so many bytes."""
        self.item.wait_for_entry("Quit", enabled=False, timeout=SECONDS)
        wait_for(lambda: any(path.stat().st_size >= size for path in self.files()), "frames in the capture file",
                 SECONDS, POLL_MS)

    def stop(self):
        self.desktop.press_in_panel(self.program, "Stop", SECONDS)
        self.item.wait_for_entry("Quit", timeout=SECONDS)

    def opener(self):
        """The capabilities of the application that was given the finished capture."""
        wait_for(self.opened.exists, "the capture to be opened", SECONDS, POLL_MS)
        return capabilities(self.opened.read_text())

    def child(self):
        """The capabilities of a program that the application starts."""
        self.item.click("Help")
        wait_for(self.record.exists, "the opener to have run", SECONDS, POLL_MS)
        return capabilities(self.record.read_text())

    def autostart(self):
        """What stands in the entry that "Launch at Login" makes; it is gone again afterwards."""
        entry = Path.home() / ".config/autostart/vantrel.desktop"
        self.item.click("Launch at Login")
        wait_for(entry.exists, "the entry for the login", SECONDS, POLL_MS)
        text = entry.read_text()
        self.item.click("Launch at Login")
        wait_for(lambda: not entry.exists(), "the entry for the login to go", SECONDS, POLL_MS)
        return text

    def environment(self):
        entries = Path(f"/proc/{self.program.pid}/environ").read_bytes().split(b"\0")
        return sorted(entry.partition(b"=")[0].decode() for entry in entries if entry)

    def quit(self):
        self.item.wait_for_entry("Quit", timeout=SECONDS)
        self.item.click("Quit")
        return self.program.wait(SECONDS)


def captures(kind):
    with Desktop() as desktop:
        session = Session(desktop, VANTREL_RADIO="simulated", VANTREL_RADIO_TRANSPORT=kind)
        seen = {"program": os.readlink(f"/proc/{session.program.pid}/exe"), "idle": threads(session.program.pid)}
        session.item.click(CAPTURE)
        session.wait_for_frames(ENOUGH)
        seen["capturing"] = threads(session.program.pid)
        session.stop()
        seen["opener"] = session.opener()
        seen["child"] = session.child()
        seen["environment"] = session.environment()
        seen["autostart"] = session.autostart()
        seen["status"] = session.quit()
        seen["log"] = desktop.log("program")
    return seen


def adapter(command, *points):
    with Desktop() as desktop:
        session = Session(desktop)
        session.item.wait_for_entry(command, timeout=SECONDS)
        session.item.click(command)
        seen = {"question": list(desktop.alert(session.program, SECONDS))}
        desktop.press(session.program, "Disconnect")
        session.item.wait_for_entry("Quit", enabled=False, timeout=SECONDS)
        # Sent to everybody (address 1) by the access point (address 2): IEEE 802.11-2020 clause 9.3.3.2.
        wanted = [6 * b"\xff" + bytes.fromhex(point.replace(":", "")) for point in points]
        wait_for(lambda: all(any(sent in path.read_bytes() for path in session.files()) for sent in wanted),
                 "beacons in the capture file", SECONDS, POLL_MS)
        seen["capturing"] = threads(session.program.pid)
        seen["children"] = children(session.program.pid)
        session.stop()
        seen["files"] = [str(path) for path in session.files()]
        seen["status"] = session.quit()
        seen["log"] = desktop.log("program")
    return seen


def feed(radio, *points):
    environment = {**os.environ, "VANTREL_RADIO_TRANSPORT": "stream"} if radio == "simulated" else None
    host = subprocess.Popen([FEEDD, *(["--simulated"] if radio == "simulated" else [])], env=environment, text=True,
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    said = host.stdout.readline()  # "port N", or nothing when it cannot serve
    if not said:
        return {"status": host.wait(SECONDS), "log": host.stderr.read()}
    seen = {"program": os.readlink(f"/proc/{host.pid}/exe"), "idle": threads(host.pid)}
    client = subprocess.Popen([FEED, "--port", said.split()[1], "--json"], stdout=subprocess.PIPE, text=True)
    missing = set(points)
    for line in client.stdout:
        missing.discard(json.loads(line)["bssid"])
        if not missing:
            break
    seen["missing"] = sorted(missing)
    seen["capturing"], seen["children"] = threads(host.pid), children(host.pid)
    print("heard", flush=True)
    sys.stdin.read()
    client.terminate()
    client.wait(SECONDS)
    host.terminate()
    _, seen["log"] = host.communicate(timeout=SECONDS)
    seen["status"] = host.returncode
    return seen


def alert():
    with Desktop() as desktop:
        session = Session(desktop)
        seen = {"idle": threads(session.program.pid)}
        session.item.click(CAPTURE)
        seen["alert"] = list(desktop.alert(session.program, SECONDS))
        desktop.press(session.program, "OK")
        session.item.wait_for_entry(CAPTURE, timeout=SECONDS)
        seen["status"] = session.quit()
        seen["log"] = desktop.log("program")
    return seen


def main():
    os.environ.setdefault("LC_ALL", "C.UTF-8")
    what = {"captures": captures, "adapter": adapter, "feed": feed, "alert": alert}[sys.argv[1]]
    print(json.dumps(what(*sys.argv[2:])))


if __name__ == "__main__":
    main()
