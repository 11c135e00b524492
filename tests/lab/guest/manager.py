"""The adapter as a station of the lower access point, managed by NetworkManager as on a desktop."""
from pathlib import Path

from air import LOWER, SETTINGS, Air, address_of, bssid_of
from station import OWN_ADDRESS
from system import Program, attempt, run, seconds_until, wait_for

JOIN_SECONDS = 40.0
CONNECTED, UNMANAGED = "100", "10"  # NMDeviceState
CONFIGURATION = """[main]
plugins=keyfile
dns=none
auth-polkit=false
no-auto-default=*
[keyfile]
path={folder}/connections
unmanaged-devices=except:interface-name:wlan*
[device]
wifi.scan-rand-mac-address=no
[logging]
level=INFO
domains=ALL
"""
CONNECTION = """[connection]
id=lab
uuid=5f0e3b2c-8f5d-4b39-9d6a-0a1d9a3c7e11
type=wifi
autoconnect=true
[wifi]
mode=infrastructure
ssid={ssid}
[wifi-security]
key-mgmt=wpa-psk
psk={passphrase}
[ipv4]
method=manual
address1={address}/24
[ipv6]
method=disabled
"""


class Manager:
    """udev, a system bus, wpa_supplicant on it, and NetworkManager with one connection that it makes by itself."""

    def __init__(self, interface):
        self.interface = interface
        run("/lib/systemd/systemd-udevd", "--daemon")
        run("udevadm", "trigger", "--action=add", timeout=60)
        run("udevadm", "settle", timeout=60)
        Path("/run/dbus").mkdir(exist_ok=True)
        Program("dbus", "dbus-daemon", "--system", "--nofork", "--nopidfile")
        bus = Path("/run/dbus/system_bus_socket")
        wait_for(bus.exists, "the system bus")
        Program("wpa_supplicant", "wpa_supplicant", "-u", "-t")
        connections = SETTINGS / "connections"
        connections.mkdir()
        connection = connections / "lab.nmconnection"
        connection.touch(mode=0o600)
        connection.write_text(CONNECTION.format(ssid=LOWER.ssid, passphrase=LOWER.passphrase, address=OWN_ADDRESS))
        self._settings = SETTINGS / "NetworkManager.conf"
        self._settings.write_text(CONFIGURATION.format(folder=SETTINGS))
        (SETTINGS / "none").mkdir()
        self._start()

    def _start(self):
        self._program = Program("NetworkManager", "NetworkManager", "--debug", f"--config={self._settings}",
                                f"--config-dir={SETTINGS / 'none'}")

    def restart(self):
        """As an update of NetworkManager does; returns when it knows the adapter again."""
        self._program.stop()
        self._start()
        wait_for(self._state, "NetworkManager to know the adapter", JOIN_SECONDS)

    def _state(self):
        answer = attempt("nmcli", "-t", "-f", "GENERAL.STATE", "device", "show", self.interface)
        return answer.stdout.partition(":")[2].split(" ")[0].strip() if answer.returncode == 0 else ""

    def associated(self):
        """Connected as NetworkManager says, and in truth."""
        return (bssid_of(self.interface) == LOWER.bssid and Air.has_station(LOWER, address_of(self.interface))
                and self._state() == CONNECTED)

    def wait_until_associated(self, timeout=JOIN_SECONDS):
        return seconds_until(self.associated, lambda: f"NetworkManager to connect (its state is {self._state()})",
                             timeout)

    def managed(self):
        return self._state() not in ("", UNMANAGED)

    def recover(self):
        """Has NetworkManager connect again, whatever kept it from that."""
        attempt("nmcli", "device", "set", self.interface, "managed", "yes", "autoconnect", "yes")
        attempt("nmcli", "--wait", "0", "device", "connect", self.interface)
