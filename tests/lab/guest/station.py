"""The adapter as a station of the lower access point, through wpa_supplicant alone."""
import socket
import threading

from air import LOWER, SETTINGS, Air, address_of, bssid_of, in_air
from system import Program, run, seconds_until, wait_for

OWN_ADDRESS = "10.1.0.2"
JOIN_SECONDS = 20.0
ECHO_PORT = 4000


class Supplicant:
    """wpa_supplicant for one interface; it rejoins by itself whenever the interface comes up."""

    def __init__(self, interface, with_peers=False):
        """With peers it also runs what Wi-Fi Direct needs on the radio, as it does unless it is told not to."""
        self.interface = interface
        settings = SETTINGS / "wpa_supplicant.conf"
        settings.write_text(f'p2p_disabled={int(not with_peers)}\nctrl_interface={SETTINGS}/wpa\n'
                            f'network={{\n  ssid="{LOWER.ssid}"\n  psk="{LOWER.passphrase}"\n'
                            f'  scan_freq={LOWER.frequency}\n}}\n')
        self.program = Program("wpa_supplicant", "wpa_supplicant", "-t", "-i", interface, "-c", str(settings), "-D",
                               "nl80211")
        run("ip", "address", "replace", f"{OWN_ADDRESS}/24", "dev", interface)

    def associated(self):
        """Associated, and with its keys in place."""
        return bssid_of(self.interface) == LOWER.bssid and Air.has_station(LOWER, address_of(self.interface))

    def wait_until_associated(self, timeout=JOIN_SECONDS):
        return seconds_until(self.associated, "the station to be associated", timeout)

    @staticmethod
    def managed():
        """Nobody but the supplicant manages the adapter."""
        return True

    def recover(self):
        """It rejoins by itself."""

    def stop(self):
        self.program.stop()


class Traffic:
    """Small packets to the access point's side and back, twenty a second, from start to stop()."""

    ECHO = ("import socket\ns = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)\ns.bind(('{address}', {port}))\n"
            "print('ready', flush=True)\nwhile True:\n    s.sendto(*s.recvfrom(2048))\n")
    INTERVAL = 0.05

    def __init__(self, interface):
        code = self.ECHO.format(address=LOWER.address, port=ECHO_PORT)
        self._echo = Program("echo", *in_air("/usr/bin/python3", "-c", code))
        self._echo.wait_for_text("ready")
        self._socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_BINDTODEVICE, interface.encode())
        self._socket.settimeout(self.INTERVAL)
        self._ending = threading.Event()
        self.sent = self.answered = 0
        self._thread = threading.Thread(target=self._exchange, daemon=True)
        self._thread.start()

    def _exchange(self):
        while not self._ending.wait(self.INTERVAL):
            try:
                self._socket.sendto(b"lab", (LOWER.address, ECHO_PORT))
                self.sent += 1
                self._socket.recv(2048)
                self.answered += 1
            except OSError:  # no route, or no answer in time
                continue

    def wait_for_answer(self):
        seen = self.answered
        wait_for(lambda: self.answered > seen, "an answer from the access point's side", 5.0)

    def stop(self):
        self._ending.set()
        self._thread.join()
        self._socket.close()
        self._echo.stop()
