"""Capture files that came out of a machine, read by tshark on this side."""
import subprocess

BEACONS = "wlan.fc.type_subtype == 8"
FIELDS = ("wlan.bssid", "radiotap.channel.freq", "wlan.ds.current_channel", "wlan.ht.info.primarychannel")
NUMBERS = {2437: "6", 5180: "36"}  # what a beacon heard on this frequency says of its own channel


def heard_otherwise(path, beacons):
    """How the file contradicts {BSSID: [MHz, …]}, the frequencies on which the beacons of each access point must have
    been heard; empty when it does not."""
    command = ["tshark", "-n", "-r", str(path), "-Y", BEACONS, "-T", "fields"]
    for field in FIELDS:
        command += ["-e", field]
    done = subprocess.run(command, capture_output=True, text=True, timeout=120)
    if done.returncode != 0:
        return f"tshark does not accept {path.name}: {done.stderr.strip()}"
    heard = {}
    for line in done.stdout.splitlines():
        bssid, frequency, *said = line.split("\t")
        if NUMBERS.get(int(frequency)) not in said:
            return f"{path.name}: a beacon of {bssid}, heard on {frequency} MHz, says that it is of channel {said}"
        heard.setdefault(bssid, set()).add(int(frequency))
    for bssid, frequencies in beacons.items():
        if heard.get(bssid, set()) != set(frequencies):
            return (f"{path.name}: the beacons of {bssid} were to be heard on {frequencies} MHz, and were on "
                    f"{sorted(heard.get(bssid, []))}")
    return ""
