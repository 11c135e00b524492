"""What vantrel-feed reads in beacons that scapy built, against what tshark reads in the same frames.

    feed_against_tshark.py PATH_OF_VANTREL_FEED [unittest arguments]

Both get the frames by way of the program: its pcap stream goes to tshark, its JSON lines are compared with the fields.
"""
import json
import os
import random
import subprocess
import sys
import tempfile
import unittest

from feed_server import record, run, sending, serving, with_check_sequence
from scapy.layers.dot11 import (AKMSuite, Dot11, Dot11Beacon, Dot11Elt, Dot11EltCountry, Dot11EltCountryConstraintTriplet,
                                Dot11EltDSSSet, Dot11EltMicrosoftWPA, Dot11EltRSN, Dot11ProbeResp, RadioTap, RSNCipherSuite)

FEED = ""
FRAMES = 600
HE_SIX = "wlan.ext_tag.he_operation.6ghz."
FIELDS = ["wlan.bssid", "wlan.fc.type_subtype", "wlan.ssid", "wlan.ds.current_channel", "wlan.ht.info.primarychannel",
          "radiotap.channel.freq", "radiotap.dbm_antsignal", "radiotap.dbm_antnoise", "wlan.country_info.code",
          "wlan.fixed.capabilities.privacy", "wlan.rsn.akms.type", "wlan.rsn.capabilities.mfpr",
          "wlan.rsn.capabilities.mfpc", "wlan.wfa.ie.wpa.akms", "wlan.ht.info.chanwidth",
          "wlan.ht.info.secchanoffset", "wlan.vht.op.channelwidth", "wlan.vht.op.channelcenter0",
          "wlan.vht.op.channelcenter1", HE_SIX + "primary_channel", HE_SIX + "control.channel_width",
          HE_SIX + "chan_center_freq_seg_0", HE_SIX + "chan_center_freq_seg_1", "wlan.fcs.status", "frame.number"]
ENTERPRISE, PERSONAL = {"1", "3"}, {"2", "4", "6"}
STRONG_ENTERPRISE, CNSA, SAE, OWE = {"5", "11"}, {"12", "13"}, {"8", "9"}, {"18"}


def mac(number):
    return "02:00:%02x:%02x:%02x:%02x" % tuple(number.to_bytes(4, "big"))


def some_ssid(pick):
    kind = pick.randrange(5)
    if kind == 0:
        return b""
    if kind == 1:
        return bytes(pick.randrange(1, 33))
    if kind == 2:
        return "Café 咖啡".encode()
    return bytes(pick.randrange(256) for _ in range(pick.randrange(1, 33)))


def rsn(pick):
    suites = pick.choice([[2], [8], [2, 8], [1], [5], [1, 5], [12], [18], [3, 4], [6], [9], [1, 2], [11], [13]])
    return Dot11EltRSN(group_cipher_suite=RSNCipherSuite(cipher="CCMP-128"),
                       pairwise_cipher_suites=[RSNCipherSuite(cipher="CCMP-128")],
                       akm_suites=[AKMSuite(suite=suite) for suite in suites],
                       mfp_capable=pick.randrange(2), mfp_required=pick.randrange(2))


def frame(pick, number):
    header = RadioTap(present="Channel+dBm_AntSignal+dBm_AntNoise", ChannelFrequency=pick.choice([2412, 2484, 5180, 5825]),
                      ChannelFlags=0, dBm_AntSignal=-pick.randrange(20, 100), dBm_AntNoise=-pick.randrange(80, 110))
    answer = pick.randrange(2) == 1
    protection = pick.randrange(5)
    fixed = (Dot11ProbeResp if answer else Dot11Beacon)(cap="ESS+privacy" if protection else "ESS")
    packet = Dot11(type=0, subtype=5 if answer else 8, addr1="ff:ff:ff:ff:ff:ff", addr2=mac(number), addr3=mac(number))
    packet = packet / fixed / Dot11Elt(ID="SSID", info=some_ssid(pick)) / Dot11Elt(ID="Rates", info=b"\x82\x84\x8b\x96")
    if pick.randrange(2):
        packet /= Dot11EltDSSSet(channel=pick.randrange(1, 15))
    if pick.randrange(2):
        packet /= Dot11EltCountry(country_string=pick.choice([b"DE ", b"US\x04"]), descriptors=[
            Dot11EltCountryConstraintTriplet(first_channel_number=1, num_channels=13, mtp=20)])
    if protection in (2, 4):
        packet /= rsn(pick)
    if pick.randrange(3):
        packet /= Dot11Elt(ID=61, info=bytes([pick.choice([1, 6, 36, 149]), pick.randrange(8)]) + bytes(20))
    if pick.randrange(2):
        packet /= Dot11Elt(ID=192, info=bytes([pick.randrange(4), pick.choice([42, 58, 155]), pick.choice([0, 50, 138])])
                           + bytes(2))
    if pick.randrange(6) == 0:  # HE operation with its information of 6 GHz
        packet /= Dot11Elt(ID=255, info=b"\x24\0\0\2\1\0\0" + bytes([pick.choice([5, 37]), pick.randrange(4), 7,
                                                                        pick.choice([0, 15, 71]), 6]))
    if protection in (3, 4):
        packet /= Dot11EltMicrosoftWPA(group_cipher_suite=RSNCipherSuite(oui=0x50F2, cipher="TKIP"),
                                       pairwise_cipher_suites=[RSNCipherSuite(oui=0x50F2, cipher="TKIP")],
                                       akm_suites=[AKMSuite(oui=0x50F2, suite=pick.choice([1, 2]))])
    return with_check_sequence(with_flags(bytes(header)), bytes(packet))


def with_flags(header):
    """The radiotap header with a Flags field that tells of the check sequence, without which tshark looks for none."""
    present = int.from_bytes(header[4:8], "little") | 1 << 1
    return bytes([0, 0, len(header) + 2, 0]) + present.to_bytes(4, "little") + b"\x10\0" + header[8:]


def number_of(text):
    return int(text, 0) if text else None


def security(fields):
    suites = set(filter(None, fields["wlan.rsn.akms.type"].split(",")))
    wpa = {str(int(suite, 0) & 0xFF) for suite in filter(None, fields["wlan.wfa.ie.wpa.akms"].split(","))}
    protected = "1" in (fields["wlan.rsn.capabilities.mfpr"], fields["wlan.rsn.capabilities.mfpc"])
    strong = suites & STRONG_ENTERPRISE
    personal = [("WPA", "2" in wpa), ("WPA2", suites & PERSONAL), ("WPA3", suites & SAE)]
    enterprise = [("WPA", "1" in wpa), ("WPA2", suites & ENTERPRISE or strong and not protected),
                  ("WPA3", suites & CNSA or strong and protected)]
    ways = ["/".join(name for name, has in personal if has), "/".join(name for name, has in enterprise if has)]
    ways[1] += "-Enterprise" if ways[1] else ""
    ways.append("OWE" if suites & OWE else "")
    return ", ".join(filter(None, ways)) or ("WEP" if fields["wlan.fixed.capabilities.privacy"] == "1" else "Open")


def width(fields):
    if fields[HE_SIX + "primary_channel"]:
        first, second = (number_of(fields[HE_SIX + f"chan_center_freq_seg_{at}"]) for at in (0, 1))
        wide = "80+80" if abs(second - first) > 16 else "160"
        return ["20", "40", "80", wide][number_of(fields[HE_SIX + "control.channel_width"])]
    centre = [number_of(fields[f"wlan.vht.op.channelcenter{at}"]) for at in (0, 1)]
    kind = number_of(fields["wlan.vht.op.channelwidth"])
    if kind == 1:
        apart = abs(centre[1] - centre[0])
        return "80" if not centre[1] else "160" if apart == 8 else "80+80" if apart > 16 else "80"
    if kind in (2, 3):
        return {2: "160", 3: "80+80"}[kind]
    wide = fields["wlan.ht.info.chanwidth"] == "1" and number_of(fields["wlan.ht.info.secchanoffset"]) in (1, 3)
    return "40" if wide else "20"


def channel_at(frequency):
    return {2412: 1, 2484: 14, 5180: 36, 5825: 165}[frequency]


def expected(fields):
    name = bytes.fromhex(fields["wlan.ssid"].replace(":", "")) if fields["wlan.ssid"] != "<MISSING>" else b""
    frequency = number_of(fields["radiotap.channel.freq"])
    return {
        "bssid": fields["wlan.bssid"],
        "frame": {8: "beacon", 5: "probe response"}[number_of(fields["wlan.fc.type_subtype"])],
        "ssid_hex": name.hex() if any(name) else "",
        "channel": number_of(fields[HE_SIX + "primary_channel"]) or
        number_of(fields["wlan.ds.current_channel"]) or number_of(fields["wlan.ht.info.primarychannel"]) or
        channel_at(frequency),
        "width": width(fields), "frequency": frequency, "security": security(fields),
        "signal": number_of(fields["radiotap.dbm_antsignal"]), "noise": number_of(fields["radiotap.dbm_antnoise"]),
        "country": fields["wlan.country_info.code"] or None,
    }


class AgainstTshark(unittest.TestCase):
    maxDiff = None

    def test_every_field(self):
        pick = random.Random(20)
        frames = [frame(pick, number) for number in range(FRAMES)]
        stream = b"".join(record(each) for each in frames)

        def output(kind):
            with serving(sending(stream)) as server:
                return run(FEED, "--port", str(server.port), kind, "--once")
        told = output("--json")
        self.assertEqual(told.stderr, b"")
        told = [json.loads(line) for line in told.stdout.splitlines()]
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "feed.pcap")
            with open(path, "wb") as out:
                out.write(output("--pcap").stdout)
            command = ["tshark", "-r", path, "-T", "fields", "-E", "occurrence=a", "-o", "wlan.check_checksum:TRUE"]
            for field in FIELDS:
                command += ["-e", field]
            lines = subprocess.run(command, capture_output=True, text=True, check=True).stdout.splitlines()
        self.assertEqual((len(lines), len(told)), (FRAMES, FRAMES))
        kinds = set()
        for line, ours in zip(lines, told):
            fields = dict(zip(FIELDS, line.split("\t"), strict=True))
            with self.subTest(frame=fields["frame.number"]):
                self.assertEqual(fields["wlan.fcs.status"], "1")
                theirs = expected(fields)
                self.assertEqual({key: ours[key] for key in theirs}, theirs)
                kinds.add((ours["security"], ours["width"]))
        self.assertGreater(len(kinds), 60)


if __name__ == "__main__":
    FEED = sys.argv.pop(1)
    unittest.main()
