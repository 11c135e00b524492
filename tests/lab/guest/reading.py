"""What the product reads from the kernel, against what iw reads."""
import re

from air import LOWER, address_of, interfaces
from scenario import scenario
from system import check, run

PROBE = "tests/radio/netlink/netlink_probe"
BLOCK = re.compile(r"^\t\* (\d+) MHz \[(-?\d+)\](.*)\n((?:\t  .*\n)*)", re.MULTILINE)
FIRST = (36, 100, 149)  # where the runs of adjacent channels at 5 GHz begin
CODES = {"20MHz": 1, "HT40": 2, "VHT80": 3, "VHT160": 4}


@scenario("the kernel's answers are read as iw reads them", 40, ("supplicant",))
def probe(lab):
    lab.at_rest()
    wiphy = interfaces()[lab.adapter].wiphy
    lines = run(str(lab.build / PROBE), "show").splitlines()
    described = next(line for line in lines if f" {lab.adapter} " in line)
    check(re.fullmatch(rf"interface \d+ {lab.adapter} wiphy {wiphy} station {address_of(lab.adapter)} "
                       rf"channel {LOWER.channel}/1/1 link up", described), f"the adapter is read as {described!r}")
    check(any(line.endswith(f' {LOWER.bssid} "{LOWER.ssid}"') for line in lines), f"no association in {lines}")
    check(any(re.fullmatch(rf"rfkill {wiphy} switch \d+ soft 0 hard 0", line) for line in lines),
          f"no switch in {lines}")
    read = next(line for line in lines if line.startswith(f"channels {wiphy} ")).split()[2:]
    read = {tuple(map(int, channel.split("/"))) for channel in read}
    shown = shown_by_iw(wiphy)
    # How a wide channel extends at 2.4 GHz is ours to choose.
    ours = {channel for channel in read if channel[1] == 2 or channel[2] == 1}
    check(ours == shown, f"only we have {sorted(ours - shown)}, only iw has {sorted(shown - ours)}")
    lab.note(f"{len(read)} channels and widths read")


def shown_by_iw(wiphy):
    """(number, band, width) of the channels up to 5.9 GHz, without 40 MHz at 2.4 GHz.

    iw goes by the marks of each 20 MHz channel; that a wide one lies among channels which exist is asked for here.
    """
    shown = set()
    for frequency, number, flags, details in BLOCK.findall(run("iw", "phy", f"phy{wiphy}", "channels")):
        if "disabled" in flags or not 2400 < int(frequency) < 5900:
            continue
        band = 1 if int(frequency) < 3000 else 2
        for word in re.search(r"Channel widths: (.*)", details)[1].split():
            code = CODES[word.rstrip("+-")]
            if band == 2 or code == 1:
                shown.add((int(number), band, code))
    return {(number, band, code) for number, band, code in shown
            if all((member, band, 1) in shown for member in block(number, code))}


def block(number, code):
    """The 20 MHz channels that a channel at 5 GHz of this width code is made of; itself at 20 MHz."""
    if code == 1:
        return [number]
    begin = max(first for first in FIRST if first <= number)
    size = 4 << (code - 1)
    start = begin + (number - begin) // size * size
    return range(start, start + size, 4)
