"""A whole desktop of its own for the tests: a virtual screen, a session bus, a window manager, notifications and a
panel with a tray, all in a private home and all ended with it. Works for any user, and touches no desktop of theirs.

    with Desktop() as desktop:
        program = desktop.start(["./program"])
        item = desktop.wait_for_item(program)
        item.click("Capture")
"""
import ctypes
import os
import re
import select
import shutil
import signal
import subprocess
import tempfile
import time
from pathlib import Path

from gi.repository import GLib

import tray
from bus import Bus, wait_for
from windows import PANEL, Windows

# What each program comes with on Debian.
PACKAGES = {"Xvfb": "xvfb", "dbus-daemon": "dbus", "openbox": "openbox", "dunst": "dunst",
            "xfce4-panel": "xfce4-panel", "xdotool": "xdotool", "xprop": "x11-utils", "xwininfo": "x11-utils",
            "import": "imagemagick", "display": "imagemagick", "convert": "imagemagick"}
SCREEN = (1280, 800)
BACKGROUND = "#5b7083"
PANEL_HEIGHT = 28  # as the layout below has it
TRAY_COLOURS = "_NET_SYSTEM_TRAY_COLORS"
MARK = "VANTREL_TEST_DESKTOP"  # in the environment of whatever runs in the desktop; its value is the private folder
START_SECONDS = 20.0
STOP_SECONDS = 5.0
ICON_SIZE = 22
POLL_MS = 100  # for what happens on the screen and reaches only X11 clients, which this is not
SETTLE_ATTEMPTS = 20

PANEL_LAYOUT = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="dark-mode" type="bool" value="{dark}"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="length" type="uint" value="100"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="icon-size" type="uint" value="22"/>
      <property name="size" type="uint" value="28"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
        <value type="int" value="2"/>
        <value type="int" value="3"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="tasklist"/>
    <property name="plugin-2" type="string" value="separator">
      <property name="expand" type="bool" value="true"/>
      <property name="style" type="uint" value="0"/>
    </property>
    <property name="plugin-3" type="string" value="systray">
      <property name="square-icons" type="bool" value="true"/>
      <property name="icon-size" type="int" value="22"/>
    </property>
  </property>
</channel>
"""


class Unavailable(Exception):
    """This machine cannot run the desktop; the text says what it lacks."""


def _die_with_parent():
    ctypes.CDLL(None).prctl(1, signal.SIGTERM)  # PR_SET_PDEATHSIG: no orphans, should this process be killed


class Desktop:
    """Starts with `with`. panel=False leaves the tray out until start_panel(); dark gives the panel a dark theme; scale
    is how many pixels of the screen, each way, stand for one."""

    def __init__(self, panel=True, dark=False, scale=1):
        self._with_panel = panel
        self._dark = dark
        self._scale = scale
        self._screen = tuple(scale * pixels for pixels in SCREEN)
        self._children = []
        self._panel = None
        self._folder = None
        self._windows = None
        self.bus = None
        self.env = {}

    def __enter__(self):
        missing = [f"{tool} (package {package})" for tool, package in PACKAGES.items() if shutil.which(tool) is None]
        if not Path("/usr/share/dbus-1/services/org.a11y.Bus.service").exists():
            missing.append("the accessibility bus (package at-spi2-core)")
        if missing:
            raise Unavailable("not installed: " + ", ".join(missing))
        self._make_folders()
        try:
            self._start_screen()
            self._start_bus()
            self._start_window_manager()
            self._run(["display", "-window", "root", f"xc:{BACKGROUND}"], check=False)  # 1 although it has painted
            self._start_child(["dunst"], "dunst")
            self.bus.wait_for_owner("org.freedesktop.Notifications")
            if self._with_panel:
                self.start_panel()
        except BaseException:
            self._stop_all()
            raise
        return self

    def __exit__(self, *_):
        self._stop_all()

    # Places

    @property
    def folder(self):
        """The private folder; it is removed at the end."""
        return self._folder

    @property
    def temporary(self):
        """What programs in the desktop find as TMPDIR."""
        return self._folder / "tmp"

    def log(self, name):
        """The output of one of the desktop's programs, or of one started with this log name."""
        path = self._folder / f"{name}.log"
        return path.read_text(errors="replace") if path.exists() else ""

    # Programs

    def start(self, command, log="program", **environment):
        """Starts a program in the desktop, with its output in log(log) and a pipe as its standard input."""
        return self._start_child(command, log, stdin=subprocess.PIPE, **environment)

    def processes_of(self, program):
        """The process and all its descendants."""
        return _family(program.pid)

    def start_panel(self):
        self._panel = self._start_child(["xfce4-panel", "--disable-wm-check"], "panel")
        tray.wait_for_host(self.bus)

    def stop_panel(self):
        self._stop(self._panel)
        with self.bus.listening("org.freedesktop.DBus", "NameOwnerChanged"):
            wait_for(lambda: not self.bus.has_owner(tray.WATCHER), "the tray to go")
        self._panel = None

    def announce_dark_tray(self):
        """Has the tray ask for light items, as a panel of a dark theme does."""
        for window in re.findall("0x[0-9a-f]{4,}", self._run(["xwininfo", "-root", "-tree"]).decode()):
            announced = self._run(["xprop", "-id", window, TRAY_COLOURS], check=False)  # it may be gone
            if b"=" in announced:
                self._run(["xprop", "-id", window, "-f", TRAY_COLOURS, "32c", "-set", TRAY_COLOURS,
                           ", ".join(12 * ["65535"])])
                return
        raise LookupError("no tray announces its colours")

    # Tray and windows

    def find_item(self, program):
        return tray.find(self.bus, _family(program.pid))

    def wait_for_item(self, program, timeout=20.0):
        """The tray item of a program or of its children."""
        def look():
            if program.poll() is not None:
                raise RuntimeError(f"the program ended with status {program.returncode} before it had a tray item")
            return self.find_item(program)
        with self.bus.listening(tray.WATCHER), self.bus.listening("org.freedesktop.DBus", "NameOwnerChanged"):
            return wait_for(look, f"the tray item of process {program.pid}", timeout, 500)  # and notice its end

    @property
    def windows(self):
        """What AT-SPI knows of the windows."""
        if self._windows is None:
            self._windows = Windows(self.bus)
        return self._windows

    def alert(self, program, timeout=15.0):
        """Waits for an alert of the program; its texts."""
        return self.windows.wait_for_alert(_family(program.pid), timeout)

    def press(self, program, button):
        """Presses a button in an alert of the program and waits until no alert is left."""
        self.windows.press(_family(program.pid), button)
        self.windows.wait_for_no_alert(_family(program.pid))

    def tick(self, program, box):
        """Toggles a check box in an alert of the program."""
        self.windows.tick(_family(program.pid), box)

    def wait_for_no_alert(self, program):
        self.windows.wait_for_no_alert(_family(program.pid))

    def panel(self, program):
        """Waits for the progress panel of a capture; its title and its texts."""
        window = self.windows.wait_for_window(_family(program.pid), PANEL)
        return window.name, self.windows.texts_in(window)

    def press_in_panel(self, program, button, timeout=15.0):
        """Presses a button of the progress panel and waits until the panel is gone."""
        family = _family(program.pid)
        self.windows.press_in(self.windows.wait_for_window(family, PANEL, timeout), button)
        self.windows.wait_for_no_window(family, PANEL, timeout)

    def window(self, program, title):
        """Waits for a window of the program whose title begins so; for the operations of windows.Windows."""
        return self.windows.wait_for_window(_family(program.pid), title)

    def wait_for_no_window(self, program, title):
        self.windows.wait_for_no_window(_family(program.pid), title)

    def nameless(self, program):
        """The controls in the program's windows that have no name for a screen reader."""
        return self.windows.nameless(_family(program.pid))

    # Pointer, keyboard and picture

    def xdotool(self, *arguments):
        return self._run(["xdotool", *map(str, arguments)]).decode()

    def click_icon(self, button=1):
        """Clicks the only tray icon, which stands at the right end of the panel, as soon as it is drawn."""
        panel = _family(self._panel.pid)
        wait_for(lambda: self._has_icon(panel), "the panel to draw the tray icon", poll_ms=POLL_MS)
        self.xdotool("mousemove", self._screen[0] - PANEL_HEIGHT // 2, PANEL_HEIGHT // 2, "click", button)

    def open_tray_menu(self):
        """Opens the menu that the panel draws for the only tray icon."""
        before = self._windows_of(self._panel)
        self.click_icon(3)
        wait_for(lambda: self._windows_of(self._panel) - before, "the tray menu to open", poll_ms=POLL_MS)

    def close_menu(self, owner=None):
        """Closes a menu of the panel, or of the program that shows it, with the Escape key."""
        owner = owner or self._panel
        before = self._windows_of(owner)
        self.type_at_menu("Escape", lambda: self._windows_of(owner) < before, "the menu to close")

    def type_at_menu(self, key, condition, what):
        """Presses a key until it has its effect: a menu is visible shortly before it holds the keyboard."""
        def pressed():
            if condition():
                return True
            self.xdotool("key", key)
            return condition()
        wait_for(pressed, what, poll_ms=POLL_MS)

    def type_at_window(self, program, key):
        """Presses a key once a window of the program has the keyboard."""
        wait_for(lambda: self._active_process() in _family(program.pid), "the keyboard to go to the program",
                 poll_ms=POLL_MS)
        self.xdotool("key", key)

    def count_windows(self, program):
        return len(self._windows_of(program))

    def wait_for_window(self, program, count=1):
        """Waits until the program shows so many windows, also such as AT-SPI does not list, like its menu."""
        wait_for(lambda: self.count_windows(program) >= count, f"{count} windows of the program", poll_ms=POLL_MS)

    def screenshot(self, path):
        """The whole screen as a PNG file, once it has come to rest: painting tells nobody when it is done."""
        last = b""
        for _ in range(SETTLE_ATTEMPTS):
            picture = self._run(["import", "-window", "root", "ppm:-"])
            if picture == last:
                break
            last = picture
            time.sleep(POLL_MS / 1000)
        self._run(["convert", "ppm:-", f"png:{path}"], input=last)
        return Path(path)

    def _has_icon(self, panel):
        extents = [self.windows.extents(node) for node in self.windows.nodes(panel)]
        # GTK counts in pixels of its own scale.
        return any(x + width == SCREEN[0] and ICON_SIZE <= width < 3 * ICON_SIZE for x, _y, width, _height in extents)

    def _active_process(self):
        answer = self._run(["xdotool", "getactivewindow", "getwindowpid"], check=False)  # 1 while no window is active
        return int(answer) if answer.strip() else None

    def _windows_of(self, program):
        # One question per process; xdotool ends with status 1 when a process has no window.
        found = set()
        for pid in _family(program.pid):
            found |= set(self._run(["xdotool", "search", "--all", "--onlyvisible", "--pid", str(pid)],
                                   check=False).decode().split())
        return found

    def _run(self, command, check=True, **options):
        done = subprocess.run(command, env=self.env, capture_output=True, timeout=START_SECONDS, **options)
        if check and done.returncode != 0:
            raise RuntimeError(f"{' '.join(command)} ended with status {done.returncode}: {done.stderr.decode()}")
        return done.stdout

    # Start and end

    def _make_folders(self):
        self._folder = Path(tempfile.mkdtemp(prefix="vantrel-desktop-"))
        places = {"HOME": "home", "XDG_CONFIG_HOME": "config", "XDG_CACHE_HOME": "cache", "XDG_DATA_HOME": "data",
                  "XDG_STATE_HOME": "state", "XDG_RUNTIME_DIR": "run", "TMPDIR": "tmp"}
        kept = ("PATH", "LANG", "LD_LIBRARY_PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS")
        self.env = {name: os.environ[name] for name in kept if name in os.environ}
        self.env |= {name: value for name, value in os.environ.items() if name.startswith("VANTREL_")}
        for name, place in places.items():
            path = self._folder / place
            path.mkdir(mode=0o700)
            self.env[name] = str(path)
        self.env |= {MARK: str(self._folder), "XDG_CURRENT_DESKTOP": "XFCE", "XDG_SESSION_TYPE": "x11",
                     "GDK_BACKEND": "x11", "QT_QPA_PLATFORM": "xcb", "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
                     "LC_ALL": "C.UTF-8", "NO_AT_BRIDGE": "0",
                     "GDK_SCALE": str(self._scale)}
        layout = self._folder / "config/xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml"
        layout.parent.mkdir(parents=True)
        layout.write_text(PANEL_LAYOUT.format(dark=str(self._dark).lower()))

    def _start_screen(self):
        read, write = os.pipe()
        try:
            width, height = self._screen
            screen = self._start_child(["Xvfb", "-displayfd", str(write), "-screen", "0", f"{width}x{height}x24",
                                        "-nolisten", "tcp", "-noreset", "-wr"], "screen", pass_fds=(write,))
        finally:
            os.close(write)
        with os.fdopen(read) as answers:
            ready, _, _ = select.select([answers], [], [], START_SECONDS)
            number = answers.readline().strip() if ready else ""
        if not number:
            raise Unavailable(f"Xvfb does not start (status {screen.poll()}): {self.log('screen').strip()}")
        self.env["DISPLAY"] = f":{number}"

    def _start_bus(self):
        daemon = self._start_child(["dbus-daemon", "--session", "--nofork", "--print-address",
                                    f"--address=unix:path={self._folder}/run/bus"], "bus", stdout=subprocess.PIPE)
        address = self._answer(daemon, "unix:")
        if not address:
            raise RuntimeError(f"dbus-daemon does not start: {self.log('bus')}")
        self.env["DBUS_SESSION_BUS_ADDRESS"] = address
        self.bus = Bus(address)

    def _start_window_manager(self):
        # Once it manages the screen, openbox runs the command it was given.
        manager = self._start_child(["openbox", "--sm-disable", "--startup", "echo ready"], "openbox",
                                    stdout=subprocess.PIPE)
        if not self._answer(manager, "ready"):
            raise RuntimeError(f"openbox does not start (status {manager.poll()}): {self.log('openbox')}")

    @staticmethod
    def _answer(child, pattern):
        """The first line of this pattern that a child prints; empty when it ends, or none comes."""
        expected = re.compile(pattern)
        end = time.monotonic() + START_SECONDS
        printed = b""
        while select.select([child.stdout], [], [], max(0.0, end - time.monotonic()))[0]:
            piece = os.read(child.stdout.fileno(), 4096)
            printed += piece
            complete = printed[:printed.rfind(b"\n") + 1].decode(errors="replace").split("\n")
            found = [line for line in complete if expected.match(line)]
            if found or not piece:
                return found[0] if found else ""
        return ""

    def _start_child(self, command, log, stdin=subprocess.DEVNULL, stdout=None, pass_fds=(), **environment):
        with open(self._folder / f"{log}.log", "ab") as output:
            child = subprocess.Popen(command, env=self.env | environment, stdin=stdin, stdout=stdout or output,
                                     stderr=output, pass_fds=pass_fds, start_new_session=True,
                                     preexec_fn=_die_with_parent, cwd=self.env["HOME"])
        self._children.append(child)
        return child

    def _stop(self, child):
        self._children.remove(child)
        if child.poll() is None:
            os.killpg(child.pid, signal.SIGTERM)
            try:
                child.wait(STOP_SECONDS)
            except subprocess.TimeoutExpired:
                os.killpg(child.pid, signal.SIGKILL)
        child.wait()
        for pipe in (child.stdin, child.stdout):
            if pipe is not None:
                pipe.close()

    def _stop_all(self):
        if self._windows is not None:
            self._windows.close()
        if self.bus is not None:
            self.bus.close()
        for child in reversed(list(self._children)):
            self._stop(child)
        # What the session bus started lives in sessions of its own; our mark tells it from all else.
        start = time.monotonic()
        while (left := _marked(self._folder)) and (elapsed := time.monotonic() - start) < 2 * STOP_SECONDS:
            for pid in left:
                _kill(pid, signal.SIGTERM if elapsed < STOP_SECONDS else signal.SIGKILL)
            time.sleep(0.05)  # they are no children of ours, whose end could be waited for
        shutil.rmtree(self._folder, ignore_errors=True)


def _kill(pid, number):
    try:
        os.kill(pid, number)
    except ProcessLookupError:
        pass


def _marked(folder):
    """The processes that carry this desktop's mark."""
    mark = f"{MARK}={folder}".encode()
    found = []
    for entry in Path("/proc").iterdir():
        if entry.name.isdigit():
            try:
                if mark in (entry / "environ").read_bytes().split(b"\0"):
                    found.append(int(entry.name))
            except OSError:  # another user's, or gone
                continue
    return found


def _family(pid):
    """The process and all its descendants."""
    parents = {}
    for entry in Path("/proc").iterdir():
        if entry.name.isdigit():
            try:
                parents[int(entry.name)] = int((entry / "stat").read_text().rpartition(")")[2].split()[1])
            except OSError:
                continue
    family = {pid}
    while grown := {child for child, parent in parents.items() if parent in family} - family:
        family |= grown
    return family
