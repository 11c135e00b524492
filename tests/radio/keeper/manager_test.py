"""What is asked of NetworkManager, and what becomes of its refusals, on a system bus of the test's own.

    manager_test.py MANAGER_PROBE
"""
import os
import subprocess
import sys
import tempfile
import threading
import unittest
from pathlib import Path

try:
    import dbus
    import dbus.mainloop.glib
    import dbus.service
    from gi.repository import GLib
except ImportError as reason:
    print(f"skipped: {reason}")
    sys.exit(77)

PROGRAM = sys.argv.pop(1)
SERVICE = "org.freedesktop.NetworkManager"
DEVICE = SERVICE + ".Device"
PATH = "/org/freedesktop/NetworkManager/Devices/7"
BUS = """<busconfig>
  <type>session</type>
  <listen>unix:path={path}</listen>
  <policy context="default">
    <allow user="*"/> <allow own="*"/> <allow send_destination="*"/> <allow receive_sender="*"/>
  </policy>
</busconfig>
"""


def refusal(name, text):
    return dbus.exceptions.DBusException(text, name=name)


class Manager(dbus.service.Object):
    path = PATH

    @dbus.service.method(SERVICE, in_signature="s", out_signature="o")
    def GetDeviceByIpIface(self, name):
        if name != "wlan0":
            raise refusal(f"{SERVICE}.UnknownDevice", "No device found for the requested iface.")
        return self.path


class Device(dbus.service.Object):
    managed = True
    refuses = False

    @dbus.service.method("org.freedesktop.DBus.Properties", in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        assert (interface, name) == (DEVICE, "Managed")
        if self.refuses:
            raise refusal("org.freedesktop.DBus.Error.AccessDenied", "not yours to know")
        return self.managed

    @dbus.service.method("org.freedesktop.DBus.Properties", in_signature="ssv")
    def Set(self, interface, name, value):
        assert (interface, name) == (DEVICE, "Managed")
        if self.refuses:
            raise refusal(f"{SERVICE}.PermissionDenied", "Not authorized to perform this operation")
        self.managed = bool(value)


class NetworkManager(unittest.TestCase):
    def setUp(self):
        folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        config = folder / "bus.conf"
        config.write_text(BUS.format(path=folder / "bus"))
        daemon = subprocess.Popen(["dbus-daemon", f"--config-file={config}", "--nofork", "--print-address"],
                                  stdout=subprocess.PIPE, text=True)
        self.addCleanup(daemon.stdout.close)
        self.addCleanup(daemon.wait)
        self.addCleanup(daemon.terminate)
        self.address = daemon.stdout.readline().strip()
        loop = GLib.MainLoop()
        self.bus = dbus.bus.BusConnection(self.address, mainloop=dbus.mainloop.glib.DBusGMainLoop())
        self.bus.set_exit_on_disconnect(False)
        self.manager = Manager(self.bus, "/org/freedesktop/NetworkManager")
        self.device = Device(self.bus, PATH)
        self.bus.request_name(SERVICE)
        serving = threading.Thread(target=loop.run, daemon=True)
        serving.start()
        self.addCleanup(serving.join)
        self.addCleanup(GLib.idle_add, loop.quit)  # also when it has not begun yet

    def ask(self, *words):
        environment = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "DBUS_SYSTEM_BUS_ADDRESS": self.address}
        done = subprocess.run([PROGRAM, *words], env=environment, capture_output=True, text=True, timeout=60, check=True)
        return done.stdout.strip()

    def test_it_lets_go_and_takes_over(self):
        self.assertEqual(self.ask("managed", "wlan0"), "true")
        self.assertEqual(self.ask("set", "wlan0", "0"), "done")
        self.assertFalse(self.device.managed)
        self.assertEqual(self.ask("managed", "wlan0"), "false")
        self.assertEqual(self.ask("set", "wlan0", "1"), "done")
        self.assertTrue(self.device.managed)

    def test_a_refusal_is_told_in_its_words(self):
        self.device.refuses = True
        self.assertEqual(self.ask("set", "wlan0", "0"),
                         "NetworkManager's Device.Managed: org.freedesktop.NetworkManager.PermissionDenied: "
                         "Not authorized to perform this operation")
        self.assertTrue(self.device.managed)
        self.assertEqual(self.ask("managed", "wlan0"),
                         "org.freedesktop.DBus.Properties.Get: org.freedesktop.DBus.Error.AccessDenied: "
                         "not yours to know")

    def test_a_device_that_it_does_not_know_is_nobodys(self):
        self.assertEqual(self.ask("managed", "wlan9"), "false")
        self.assertEqual(self.ask("set", "wlan9", "0"),
                         "org.freedesktop.NetworkManager.GetDeviceByIpIface: "
                         "org.freedesktop.NetworkManager.UnknownDevice: No device found for the requested iface.")

    def test_where_none_runs_all_is_done(self):
        self.bus.release_name(SERVICE)
        self.assertEqual(self.ask("managed", "wlan0"), "false")
        self.assertEqual(self.ask("set", "wlan0", "0"), "done")
        self.assertTrue(self.device.managed)

    def test_without_a_bus_none_runs(self):
        self.address = "unix:path=/nowhere"
        self.assertEqual(self.ask("managed", "wlan0"), "false")
        self.assertEqual(self.ask("set", "wlan0", "0"), "done")


if __name__ == "__main__":
    unittest.main()
