"""The loopback feed over the real adapter: the host, and the client that asks it."""
import json
from pathlib import Path

from air import ACCESS_POINTS, LOWER, UPPER, bssid_of, in_air, monitors
from product import HOME, environment, make_places
from scenario import scenario
from system import Dialogue, Program, check, run, wait_for

POWERS = {LOWER: 16, UPPER: 6}  # dBm
TOLERANCE = 2  # dB; the simulated radios add the sender's power to one path loss
SWEEPS = 3


def set_power(point, *setting):
    run(*in_air("iw", "dev", point.interface, "set", "txpower", *setting))


class Checked:
    """An access point's beacons with check sequences, without which nothing of a network is fed."""

    def __init__(self, point):
        self._monitor = f"{point.interface}checked"
        run(*in_air("iw", "dev", point.interface, "interface", "add", self._monitor, "type", "monitor"))
        run(*in_air("ip", "link", "set", self._monitor, "up"))
        script = Path(__file__).with_name("checked.py")
        self._sender = Program(f"checked-{point.interface}", *in_air("/usr/bin/python3", str(script), self._monitor,
                                                                   point.bssid, point.ssid, str(point.channel)))

    def stop(self):
        self._sender.stop()
        run(*in_air("iw", "dev", self._monitor, "del"))


class Feed:
    """vantrel-feedd, listening, and vantrel-feed with its JSON lines."""

    def __init__(self, lab):
        make_places()
        self._bin = lab.build / "bin"
        self.host = Dialogue("feedd", str(self._bin / "vantrel-feedd"), env=environment(), cwd=HOME)
        self.port = self.host.hear(lambda line: line.startswith("port "), "its port").split()[1]
        self.client = None

    def connect(self):
        self.client = Dialogue("feed", str(self._bin / "vantrel-feed"), "--port", self.port, "--json",
                               env=environment(), cwd=HOME)

    def signals(self, point, count):
        """As the client tells them of so many sweeps."""
        line = f'"bssid":"{point.bssid}"'
        return [json.loads(self.client.hear(lambda text: line in text, f"{point.ssid} in a sweep", 40.0))["signal"]
                for _ in range(count)]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for program in (self.client, self.host):
            if program:
                program.stop()


def measure(lab, feed):
    """What the client was told of each access point, in dBm; nothing is sent in their names afterwards, since a station
    would believe it."""
    senders = [Checked(point) for point in ACCESS_POINTS]
    try:
        heard = {}
        for point in ACCESS_POINTS:
            heard[point] = max(feed.signals(point, SWEEPS))
            lab.note(f"{point.ssid} sends with {POWERS[point]} dBm and was heard with {heard[point]} dBm")
        return heard
    finally:
        for sender in senders:
            sender.stop()


@scenario("the feed tells two access points by their power, and gives the adapter back", 180, ("supplicant",))
def powers(lab):
    lab.at_rest()
    try:
        for point, power in POWERS.items():
            set_power(point, "fixed", str(power * 100))
        with Feed(lab) as feed:
            check(bssid_of(lab.adapter) == LOWER.bssid, "the station has left its network before there is a client")
            feed.connect()
            wait_for(monitors, "a monitor interface", 20.0)
            heard = measure(lab, feed)
            difference = heard[LOWER] - heard[UPPER]
            check(abs(difference - (POWERS[LOWER] - POWERS[UPPER])) <= TOLERANCE,
                  f"the signals differ by {difference} dB")
            check(bssid_of(lab.adapter) == "", "the station is still in its network while a client is served")
            feed.host.process.terminate()
            status = feed.host.process.wait(20.0)
            check(status == 0, f"the host ended with status {status}")
            check(not monitors(), f"there is still {monitors()} after the host's end")
            lab.note(f"associated again {lab.station.wait_until_associated():.1f} s after the host's end")
            check(feed.client.process.wait(10.0) == 1, "the client did not learn of the end")
    finally:
        for point in POWERS:
            set_power(point, "auto")
    lab.at_rest()
