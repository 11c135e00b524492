"""A StatusNotifierWatcher whose host comes when it is told to, for an order of events that no real panel keeps."""
from gi.repository import Gio, GLib

import tray

INTERFACE = Gio.DBusNodeInfo.new_for_xml(f"""
<node>
  <interface name="{tray.WATCHER}">
    <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
    <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
    <signal name="StatusNotifierHostRegistered"/>
  </interface>
</node>""").interfaces[0]


class Watcher:
    """Owns the watcher's name on the bus of this address until close(). Serves while wait_for() waits."""

    def __init__(self, address):
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        self._connection = Gio.DBusConnection.new_for_address_sync(address, flags, None, None)
        self._connection.set_exit_on_close(False)
        self._has_host = False
        self.questions = 0  # how often a program asked for a host
        self.items = []     # what programs registered
        self._connection.register_object(tray.WATCHER_PATH, INTERFACE, self._called, self._read, None)
        Gio.bus_own_name_on_connection(self._connection, tray.WATCHER, Gio.BusNameOwnerFlags.NONE, None, None)

    def bring_host(self):
        self._has_host = True
        self._connection.emit_signal(None, tray.WATCHER_PATH, tray.WATCHER, "StatusNotifierHostRegistered", None)

    def close(self):
        self._connection.close_sync(None)

    def _called(self, _connection, _sender, _path, _interface, _method, parameters, invocation):
        self.items.append(parameters.unpack()[0])
        invocation.return_value(None)

    def _read(self, _connection, _sender, _path, _interface, _name):
        self.questions += 1
        return GLib.Variant("b", self._has_host)
