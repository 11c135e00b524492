"""A connection to a D-Bus daemon given by its address, and waiting for what arrives on it."""
import sys

try:
    import gi
except ImportError:
    print("skipped: not installed: the Python module gi (package python3-gi)")
    sys.exit(77)

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

CALL_TIMEOUT_MS = 10_000


class TimedOut(Exception):
    """Something awaited did not happen in time."""


def wait_for(condition, what, timeout=15.0, poll_ms=None):
    """Returns the first true answer of condition(), asked again whenever the main context delivers an event.

    poll_ms asks in that interval as well, for what announces itself in no other way.
    """
    context = GLib.MainContext.default()
    end = GLib.get_monotonic_time() + int(timeout * 1e6)
    # A source that only wakes the context, at the deadline or in each interval.
    source = GLib.timeout_source_new(min(poll_ms or int(timeout * 1000), int(timeout * 1000)))
    source.set_callback(lambda *_: True)
    source.attach(context)
    try:
        while True:
            answer = condition()
            if answer:
                return answer
            if GLib.get_monotonic_time() >= end:
                raise TimedOut(f"after {timeout:g} s still waiting for {what}")
            context.iteration(True)
    finally:
        source.destroy()


class Bus:
    """One connection; close it before the daemon goes."""

    def __init__(self, address):
        flags = (Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
                 | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
        self._connection = Gio.DBusConnection.new_for_address_sync(address, flags, None, None)
        self._connection.set_exit_on_close(False)

    def call(self, service, path, interface, method, signature="()", *arguments):
        reply = self._connection.call_sync(service, path, interface, method, GLib.Variant(signature, arguments), None,
                                           Gio.DBusCallFlags.NO_AUTO_START, CALL_TIMEOUT_MS, None)
        return reply.unpack()

    def call_starting(self, service, path, interface, method):
        """As call(), but the daemon may start the service."""
        reply = self._connection.call_sync(service, path, interface, method, None, None, Gio.DBusCallFlags.NONE,
                                           CALL_TIMEOUT_MS, None)
        return reply.unpack()

    def property(self, service, path, interface, name):
        return self.call(service, path, "org.freedesktop.DBus.Properties", "Get", "(ss)", interface, name)[0]

    def has_owner(self, name):
        return self._daemon("NameHasOwner", "(s)", name)[0]

    def process_of(self, name):
        return self._daemon("GetConnectionUnixProcessID", "(s)", name)[0]

    def wait_for_owner(self, name, timeout=15.0):
        with self.listening("org.freedesktop.DBus", "NameOwnerChanged"):
            wait_for(lambda: self.has_owner(name), f"{name} on the session bus", timeout)

    def listening(self, interface, signal=None):
        """A context in which this signal wakes wait_for()."""
        return _Listening(self._connection, interface, signal)

    def close(self):
        if not self._connection.is_closed():
            self._connection.close_sync(None)

    def _daemon(self, method, signature, *arguments):
        return self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method, signature,
                         *arguments)


class _Listening:
    def __init__(self, connection, interface, signal):
        self._connection = connection
        self._id = connection.signal_subscribe(None, interface, signal, None, None, Gio.DBusSignalFlags.NONE,
                                               lambda *_: None)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._connection.signal_unsubscribe(self._id)
