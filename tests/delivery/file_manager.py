"""A file manager on the bus that only keeps count of what it is asked."""
from gi.repository import Gio, GLib

FILE_MANAGER = "org.freedesktop.FileManager1"
FILE_MANAGER_PATH = "/org/freedesktop/FileManager1"
INTERFACE = Gio.DBusNodeInfo.new_for_xml(f"""
<node>
  <interface name="{FILE_MANAGER}">
    <method name="ShowItems"><arg type="as" direction="in"/><arg type="s" direction="in"/></method>
    <method name="ShowFolders"><arg type="as" direction="in"/><arg type="s" direction="in"/></method>
  </interface>
</node>""").interfaces[0]


class FileManager:
    """Serves while wait_for() waits."""

    def __init__(self, address):
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        self._connection = Gio.DBusConnection.new_for_address_sync(address, flags, None, None)
        self._connection.set_exit_on_close(False)
        self.calls = []
        self.refuses = False
        self._connection.register_object(FILE_MANAGER_PATH, INTERFACE, self._called, None, None)
        self._connection.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                   "RequestName", GLib.Variant("(su)", (FILE_MANAGER, 0)), None,
                                   Gio.DBusCallFlags.NONE, -1, None)

    def close(self):
        self._connection.close_sync(None)

    def _called(self, _connection, _sender, _path, _interface, method, parameters, invocation):
        self.calls.append((method, *parameters.unpack()))
        if self.refuses:
            invocation.return_dbus_error("org.freedesktop.DBus.Error.Failed", "not today")
        else:
            invocation.return_value(None)
