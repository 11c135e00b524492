"""Windows read and used through the accessibility bus (AT-SPI), as a screen reader does."""
from dataclasses import dataclass

from gi.repository import GLib

from bus import Bus, wait_for

REGISTRY = "org.a11y.atspi.Registry"
ROOT = "/org/a11y/atspi/accessible/root"
ACCESSIBLE = "org.a11y.atspi.Accessible"
ACTION = "org.a11y.atspi.Action"
COMPONENT = "org.a11y.atspi.Component"
TEXT = "org.a11y.atspi.Text"
EDITABLE_TEXT = "org.a11y.atspi.EditableText"
SCREEN_COORDINATES = 0

# Widgets appear without a signal that every toolkit sends, so the tree is read again in this interval.
POLL_MS = 100

PANEL = "Capturing on Channel "  # how the title of the progress panel begins; it is no alert, but has the same role
ALERT_ROLES = ("alert", "alert message", "dialog", "file chooser")  # GTK and Qt name them differently


# States of AT-SPI, by their bit.
STATE_CHECKED = 4
STATE_FOCUSED = 12
STATE_SENSITIVE = 24
STATE_SHOWING = 25

BUTTONS = ("push button", "button", "push button menu", "button menu")
# What a user acts on or reads a value from, by the name of its role.
CONTROLS = (*BUTTONS, "check box", "radio button", "combo box", "text", "entry", "spin button", "slider",
            "progress bar", "list", "table", "tree", "page tab", "menu item", "check menu item", "radio menu item")


@dataclass(frozen=True)
class Node:
    """One widget."""
    service: str
    path: str
    role: str
    name: str


class Windows:
    def __init__(self, session_bus):
        address, = session_bus.call_starting("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress")
        self._bus = Bus(address)

    def close(self):
        self._bus.close()

    def windows(self, pids):
        """The top-level windows of these processes."""
        return [window for service in self._applications(pids) for window in self._children(service, ROOT)]

    def nodes(self, pids):
        """Every widget of these processes, windows before their contents."""
        return self._with_contents(self.windows(pids))

    def texts(self, pids):
        """What the alerts of these processes say, one text per label, in the order of reading."""
        return [node.name for node in self._in_dialogs(pids) if node.role == "label" and node.name]

    def buttons(self, pids):
        return [node.name for node in self._in_dialogs(pids) if node.role in BUTTONS]

    def press(self, pids, name):
        """Presses the button of this name in an alert or dialog."""
        self._act(self._in_dialogs(pids), BUTTONS, name)

    def tick(self, pids, name):
        """Toggles the check box of this name in an alert or dialog."""
        self._act(self._in_dialogs(pids), ("check box",), name)

    def window(self, pids, title):
        """The window that shows and whose title begins so, or None."""
        return next((window for window in self.windows(pids) if window.name.startswith(title) and self._shows(window)),
                    None)

    def wait_for_window(self, pids, title, timeout=15.0):
        return wait_for(lambda: self.window(pids, title), f"the window {title!r}", timeout, POLL_MS)

    def wait_for_no_window(self, pids, title, timeout=15.0):
        wait_for(lambda: not self.window(pids, title), f"the window {title!r} to close", timeout, POLL_MS)

    def title(self, window):
        """As it is now."""
        return self._bus.property(window.service, window.path, ACCESSIBLE, "Name")

    def contents(self, window):
        """The window and what shows in it."""
        return [node for node in self._with_contents([window]) if self._shows(node)]

    def texts_in(self, window):
        return [node.name for node in self.contents(window) if node.role == "label" and node.name]

    def press_in(self, window, name):
        self._act(self.contents(window), BUTTONS, name)

    def nameless(self, pids):
        """The controls that show and that a screen reader could not tell by a name."""
        return [node for node in self.nodes(pids) if node.role in CONTROLS and not node.name and self._shows(node)]

    def wait_for_alert(self, pids, timeout=15.0):
        """Waits for an alert and returns its texts."""
        return wait_for(lambda: self.texts(pids), "an alert", timeout, POLL_MS)

    def wait_for_no_alert(self, pids, timeout=15.0):
        wait_for(lambda: not self.texts(pids), "the alert to close", timeout, POLL_MS)

    def extents(self, node):
        """x, y, width, height on the screen."""
        return self._bus.call(node.service, node.path, COMPONENT, "GetExtents", "(u)", SCREEN_COORDINATES)[0]

    # Single controls

    def control(self, window, roles, name):
        """The control of one of these roles whose name is this; it may be hidden."""
        nodes = self._with_contents([window])
        found = next((node for node in nodes if node.role in roles and node.name == name), None)
        if found is None:
            raise LookupError(f"no {roles[0]} {name!r}; there are {[node.name for node in nodes if node.role in roles]}")
        return found

    def act(self, node):
        """What a click does."""
        self._bus.call(node.service, node.path, ACTION, "DoAction", "(i)", 0)

    def has_state(self, node, state):
        low, _high = self._bus.call(node.service, node.path, ACCESSIBLE, "GetState")[0]
        return bool(low >> state & 1)

    def text(self, node):
        return self._bus.call(node.service, node.path, TEXT, "GetText", "(ii)", 0, -1)[0]

    def set_text(self, node, text):
        self._bus.call(node.service, node.path, EDITABLE_TEXT, "SetTextContents", "(s)", text)

    def description(self, node):
        return self._bus.property(node.service, node.path, ACCESSIBLE, "Description")

    def focus(self, node):
        """Gives the node the keyboard, and waits until it has it."""
        def has_focus():
            self._bus.call(node.service, node.path, COMPONENT, "GrabFocus")
            return self.has_state(node, STATE_FOCUSED)
        wait_for(has_focus, f"{node.name!r} to have the keyboard", poll_ms=POLL_MS)

    def _in_dialogs(self, pids):
        return self._with_contents([window for window in self.windows(pids)
                                    if window.role in ALERT_ROLES and not window.name.startswith(PANEL)])

    def _act(self, nodes, roles, name):
        known = [node for node in nodes if node.role in roles]
        node = next((node for node in known if node.name == name), None)
        if node is None:
            raise LookupError(f"no {roles[0]} {name!r}; there are {[node.name for node in known]}")
        self._bus.call(node.service, node.path, ACTION, "DoAction", "(i)", 0)

    def _shows(self, node):
        try:
            low, _high = self._bus.call(node.service, node.path, ACCESSIBLE, "GetState")[0]
        except GLib.Error:
            return False
        return bool(low >> STATE_SHOWING & 1)

    def _with_contents(self, rest):
        found = []
        while rest:
            node = rest.pop(0)
            found.append(node)
            rest = self._children(node.service, node.path) + rest
        return found

    def _applications(self, pids):
        try:
            children = self._bus.call(REGISTRY, ROOT, ACCESSIBLE, "GetChildren")[0]
        except GLib.Error:  # the registry starts with the first application
            return []
        return [service for service, _path in children if self._process_of(service) in pids]

    def _process_of(self, service):
        try:
            return self._bus.process_of(service)
        except GLib.Error:  # it has just gone
            return None

    def _children(self, service, path):
        # A widget may go between two calls; then it has no children and is passed over.
        try:
            children = self._bus.call(service, path, ACCESSIBLE, "GetChildren")[0]
        except GLib.Error:
            return []
        return [node for child in children if (node := self._node(*child)) is not None]

    def _node(self, service, path):
        try:
            role = self._bus.call(service, path, ACCESSIBLE, "GetRoleName")[0]
            name = self._bus.property(service, path, ACCESSIBLE, "Name")
        except GLib.Error:
            return None
        return Node(service, path, role, name)
