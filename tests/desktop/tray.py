"""Tray items as their host sees them: found by process, read and clicked through their D-Bus menu."""
from dataclasses import dataclass

from gi.repository import GLib

from bus import wait_for

WATCHER = "org.kde.StatusNotifierWatcher"
WATCHER_PATH = "/StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
MENU = "com.canonical.dbusmenu"


@dataclass(frozen=True)
class Entry:
    """One entry of a menu; the label without the underscores that mark mnemonics."""
    id: int
    label: str
    enabled: bool
    visible: bool
    separator: bool
    checked: bool
    children: tuple


def has_host(bus):
    return bus.has_owner(WATCHER) and bus.property(WATCHER, WATCHER_PATH, WATCHER, "IsStatusNotifierHostRegistered")


def wait_for_host(bus, timeout=20.0):
    with bus.listening("org.freedesktop.DBus", "NameOwnerChanged"), bus.listening(WATCHER):
        wait_for(lambda: has_host(bus), "a host for tray items", timeout)


def registered(bus):
    """The tray items that exist, as (bus name, object path, process id)."""
    if not bus.has_owner(WATCHER):
        return []
    items = []
    for name in bus.property(WATCHER, WATCHER_PATH, WATCHER, "RegisteredStatusNotifierItems"):
        service, slash, path = name.partition("/")
        if bus.has_owner(service):
            items.append((service, slash + path if path else "/StatusNotifierItem", bus.process_of(service)))
    return items


def find(bus, pids):
    """The tray item of one of these processes, or None."""
    for service, path, pid in registered(bus):
        if pid in pids:
            return TrayItem(bus, service, path)
    return None


def without_mnemonic(label):
    """dbusmenu: "_" marks the mnemonic, "__" is an underscore."""
    return label.replace("__", "\0").replace("_", "").replace("\0", "_")


class TrayItem:
    def __init__(self, bus, service, path):
        self._bus = bus
        self._service = service
        self._path = path
        self._menu = self._property("Menu")

    @property
    def tool_tip(self):
        _icon, _pixmaps, title, _text = self._property("ToolTip")
        return title

    @property
    def icon(self):
        """The icon's pictures as (width, height, ARGB bytes)."""
        return [(width, height, bytes(data)) for width, height, data in self._property("IconPixmap")]

    def activate(self, x, y):
        self._bus.call(self._service, self._path, ITEM, "Activate", "(ii)", x, y)

    def entries(self, levels=-1):
        """The menu from top to bottom, with its submenus or with so many levels of it."""
        _revision, root = self._bus.call(self._service, self._menu, MENU, "GetLayout", "(iias)", 0, levels, [])
        return _entry(root).children

    def labels(self):
        return ["-" if entry.separator else entry.label for entry in self.entries() if entry.visible]

    def entry(self, label, *submenu_labels):
        """The entry with this label; further labels descend into submenus."""
        entries = self.entries()
        path = (label, *submenu_labels)
        for wanted in path:
            found = next((entry for entry in entries if entry.label == wanted and entry.visible), None)
            if found is None:
                raise LookupError(f"no menu entry {' > '.join(path)!r}; the menu holds {self.labels()}")
            entries = found.children
        return found

    def click(self, *labels):
        entry = self.entry(*labels)
        if not entry.enabled:
            raise LookupError(f"the menu entry {' > '.join(labels)!r} is disabled")
        self._bus.call(self._service, self._menu, MENU, "Event", "(isvu)", entry.id, "clicked", GLib.Variant("i", 0), 0)

    def wait_for_entry(self, *labels, enabled=True, timeout=15.0):
        """Waits until the entry exists and is enabled, or disabled."""
        def as_wanted():
            try:
                return self.entry(*labels).enabled == enabled
            except LookupError:
                return False
        with self._bus.listening(MENU):
            wait_for(as_wanted, f"the menu entry {' > '.join(labels)!r} to be {'en' if enabled else 'dis'}abled",
                     timeout)

    def wait_for_no_entry(self, label, timeout=15.0):
        """Waits until no entry of this label is visible."""
        with self._bus.listening(MENU):
            wait_for(lambda: label not in self.labels(), f"the menu entry {label!r} to go", timeout)

    def wait_for_checked(self, *labels, checked=True, timeout=15.0):
        with self._bus.listening(MENU):
            wait_for(lambda: self.entry(*labels).checked == checked,
                     f"the mark of {' > '.join(labels)!r} to be {checked}", timeout)

    def checked(self, *labels):
        """The labels of the entries with a mark in a submenu."""
        return [entry.label for entry in self.entry(*labels).children if entry.checked]

    def wait_for_tool_tip(self, text, timeout=15.0):
        with self._bus.listening(ITEM):
            wait_for(lambda: self.tool_tip == text, f"the tool tip {text!r} (it is {self.tool_tip!r})", timeout)

    def _property(self, name):
        return self._bus.property(self._service, self._path, ITEM, name)


def _entry(node):
    identity, properties, children = node
    return Entry(id=identity,
                 label=without_mnemonic(properties.get("label", "")),
                 enabled=properties.get("enabled", True),
                 visible=properties.get("visible", True),
                 separator=properties.get("type") == "separator",
                 checked=properties.get("toggle-state", 0) == 1,
                 children=tuple(_entry(child) for child in children))
