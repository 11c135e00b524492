"""The surroundings of the adapter: two access points and a listener in a network namespace of their own, and what iw
says of the interfaces on either side."""
import re
from dataclasses import dataclass
from pathlib import Path

from system import LOGS, Program, attempt, run, wait_for

NAMESPACE = "air"  # the other side of the air; the adapter alone stays in the machine's first namespace
# Channels 1 to 11, 36 to 64, 100 to 144 and 149 to 165, up to 160 MHz wide. In a domain with 6 GHz and the band below
# 1 GHz the simulated radios scan for more than ten seconds, after which a supplicant gives up.
COUNTRY = "PR"
WATCHER = "watcher"
SETTINGS = Path("/run/lab-settings")


@dataclass(frozen=True)
class AccessPoint:
    interface: str
    bssid: str
    ssid: str
    channel: int
    frequency: int  # MHz
    passphrase: str
    address: str = ""

    def settings(self):
        lines = [f"interface={self.interface}", "driver=nl80211", f"ssid={self.ssid}", f"channel={self.channel}",
                 f"hw_mode={'g' if self.channel < 15 else 'a'}", "ieee80211n=1", "wmm_enabled=1"]
        if self.passphrase:
            lines += ["wpa=2", "wpa_key_mgmt=WPA-PSK", "rsn_pairwise=CCMP", f"wpa_passphrase={self.passphrase}"]
        return "\n".join(lines) + "\n"


# The radios' addresses follow from their numbers.
LOWER = AccessPoint("wlan0", "02:00:00:00:00:00", "lab two", 6, 2437, "a secret of the lab", "10.1.0.1")
UPPER = AccessPoint("wlan1", "02:00:00:00:01:00", "lab five", 36, 5180, "")
ACCESS_POINTS = (LOWER, UPPER)
LISTENER = "wlan3"


def in_air(*command):
    """The command as it runs on the other side of the air."""
    return ("ip", "netns", "exec", NAMESPACE, *command)


class Air:
    def __init__(self):
        SETTINGS.mkdir(exist_ok=True)
        run("iw", "reg", "set", COUNTRY)
        wait_for(lambda: f"country {COUNTRY}:" in run("iw", "reg", "get"), "the regulatory domain")
        run("ip", "link", "set", "lo", "up")
        run("ip", "netns", "add", NAMESPACE)
        for name in (LOWER.interface, UPPER.interface, LISTENER):
            wiphy = Path(f"/sys/class/net/{name}/phy80211/name").read_text().strip()
            run("iw", "phy", wiphy, "set", "netns", "name", NAMESPACE)
        self._points = [self._start(point) for point in ACCESS_POINTS]
        for program in self._points:
            program.wait_for_text("AP-ENABLED")
        run(*in_air("ip", "address", "add", f"{LOWER.address}/24", "dev", LOWER.interface))
        run(*in_air("iw", "dev", LISTENER, "interface", "add", WATCHER, "type", "monitor"))
        run(*in_air("iw", "dev", LISTENER, "del"))
        run(*in_air("ip", "link", "set", WATCHER, "up"))

    @staticmethod
    def _start(point):
        settings = SETTINGS / f"{point.interface}.conf"
        settings.write_text(point.settings())
        return Program(f"hostapd-{point.interface}", *in_air("hostapd", str(settings)))

    @staticmethod
    def listen(point, timeout=10.0):
        """Waits until the listener has heard a beacon of the access point; the line that tcpdump prints of it."""
        run(*in_air("iw", "dev", WATCHER, "set", "freq", str(point.frequency)))
        return run(*in_air("timeout", str(timeout), "tcpdump", "-i", WATCHER, "-l", "-e", "-n", "-c", "1",
                           f"type mgt subtype beacon and wlan addr2 {point.bssid}"), timeout=timeout + 5)

    @staticmethod
    def has_station(point, address):
        answer = attempt(*in_air("iw", "dev", point.interface, "station", "get", address))
        return answer.returncode == 0 and "authorized:\tyes" in answer.stdout


@dataclass(frozen=True)
class Interface:
    """What `iw dev` says of one interface."""
    name: str
    kind: str
    wiphy: int
    channel: int = 0  # 0: it is on none
    width: int = 0    # MHz
    ssid: str = ""


def interfaces():
    """The wireless interfaces of this namespace, by name."""
    found, wiphy = {}, 0
    for block in re.split(r"^\t(?=Interface|Unnamed)|^(?=phy#)", run("iw", "dev"), flags=re.MULTILINE):
        if block.startswith("phy#"):
            wiphy = int(block[4:].split()[0])
        elif name := re.match(r"Interface (\S+)", block):
            kind = re.search(r"^\t+type (.+)$", block, re.MULTILINE)
            tuned = re.search(r"^\t+channel (\d+) \(\d+ MHz\), width: (\d+) MHz", block, re.MULTILINE)
            ssid = re.search(r"^\t+ssid (.+)$", block, re.MULTILINE)
            found[name[1]] = Interface(name[1], kind[1] if kind else "", wiphy, int(tuned[1]) if tuned else 0,
                                       int(tuned[2]) if tuned else 0, ssid[1] if ssid else "")
    return found


def monitors():
    return [interface for interface in interfaces().values() if interface.kind == "monitor"]


def is_up(name):
    flags = Path(f"/sys/class/net/{name}/flags")
    return flags.exists() and int(flags.read_text(), 16) & 1 == 1


def address_of(name):
    return Path(f"/sys/class/net/{name}/address").read_text().strip()


def bssid_of(name):
    """The network that a station is a member of; empty when it is of none."""
    linked = re.match(r"Connected to (\S+)", attempt("iw", "dev", name, "link").stdout)
    return linked[1] if linked else ""


def switch_of(wiphy):
    """The number under which rfkill knows a radio."""
    return next(Path(f"/sys/class/ieee80211/phy{wiphy}").glob("rfkill*")).name.removeprefix("rfkill")


def watch_events():
    """All that nl80211 tells of, as iw prints it, in a log."""
    LOGS.mkdir(parents=True, exist_ok=True)
    return Program("nl80211-events", "iw", "event", "-t")
