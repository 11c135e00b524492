"""Writes the first inputs of the fuzz targets of the parsers: make_corpus.py [folder of the corpora]."""
import binascii
import os
import struct
import sys

FOLDER = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus")


def bits(*numbers):
    return sum(1 << number for number in numbers)


def radiotap(words, fields):
    length = 4 + 4 * len(words) + len(fields)
    return struct.pack("<BBH", 0, 0, length) + struct.pack("<%dI" % len(words), *words) + fields


def ppi(fields):
    return struct.pack("<BBHI", 0, 0, 8 + len(fields), 105) + fields


def field(kind, data):
    return struct.pack("<HH", kind, len(data)) + data


def common(flags):
    return field(2, bytes(8) + struct.pack("<H", flags) + bytes(10))


def data_frame(subtype, ds, length, padding=b"", body=b"payload"):
    header = bytes([subtype << 4 | 8, ds]) + bytes(length - 2)
    return header + padding + body + struct.pack("<I", binascii.crc32(header + body))


CHAIN = bits(29, 31)
VENDOR = b"\x00\x11\x22\x01\x03\x00abc"

RADIOTAP = {
    "empty": radiotap([0], b""),
    "flags": radiotap([bits(1)], b"\x10"),
    "usual": radiotap([bits(0, 1, 2, 3, 5, 11, 14)], bytes(8) + b"\x10\x02\x6c\x09\xa0\x00\xc4\x01\x00\x00"),
    "every_field": radiotap([0x7BFFFF], bytes(100)),
    "ht": radiotap([bits(1, 3, 5, 19, 20)], b"\x10" + bytes(20)),
    "vht": radiotap([bits(1, 3, 5, 21, 22)], b"\x10" + bytes(40)),
    "chain": radiotap([bits(1, 5) | CHAIN, bits(5, 11) | CHAIN, bits(5, 11)], b"\x10\xc4\xc4\x00\xc4\x01"),
    "numbered_on": radiotap([bits(1, 31), bits(1)], b"\x10\x40"),
    "vendor": radiotap([bits(1, 30, 31), bits(1, 2) | CHAIN, bits(1)], b"\x10\x00" + VENDOR + b"\x40"),
    "vendor_too_long": radiotap([bits(30)], b"\x00\x11\x22\x01\xff\xff"),
    "field_18": radiotap([bits(1, 18) | CHAIN, bits(1)], b"\x10" + bytes(9)),
    "field_25": radiotap([bits(1, 25)], b"\x10"),
    "version_1": b"\x01" + radiotap([bits(1)], b"\x10")[1:],
    "too_short": radiotap([bits(1, 22)], b"\x10"),
}
PPI = {
    "empty": ppi(b""),
    "common": ppi(common(1)) + bytes(24),
    "common_bad": ppi(common(2)) + bytes(24),
    "common_4": ppi(common(4)) + bytes(24),
    "common_without_frame": ppi(common(1)),
    "behind_others": ppi(field(3, bytes(12)) + field(9, b"") + common(1)) + bytes(24),
    "in_front": ppi(common(1) + field(4, bytes(48))) + bytes(24),
    "unaligned": ppi(field(5, bytes(3)) + common(1)) + bytes(24),
    "two": ppi(common(1) + common(2)) + bytes(24),
    "other_length": ppi(field(2, bytes(19)) + common(1)) + bytes(24),
    "runs_over": ppi(struct.pack("<HH", 3, 0xFFFF)) + bytes(24),
    "negative": b"\x00\x00\x00\x80" + bytes(40),
}
SLICING = {
    "data": b"\x00" + RADIOTAP["flags"] + data_frame(0, 1, 24),
    "data_four": b"\x00" + RADIOTAP["usual"] + data_frame(0, 3, 30),
    "qos": b"\x00" + RADIOTAP["chain"] + data_frame(8, 1, 26),
    "qos_four": b"\x00" + RADIOTAP["vht"] + data_frame(8, 3, 32),
    "qos_padded": b"\x00" + radiotap([bits(1)], b"\x30") + data_frame(8, 1, 26, b"\x00\x00"),
    "padding_without_body": b"\x00" + radiotap([bits(1)], b"\x30") + data_frame(8, 1, 26, b"", b"\x00"),
    "without_fcs": b"\x00" + RADIOTAP["empty"] + data_frame(0, 2, 24),
    "bad": b"\x00" + radiotap([bits(1)], b"\x50") + data_frame(0, 2, 24),
    "null": b"\x00" + RADIOTAP["flags"] + data_frame(4, 1, 24, b"", b""),
    "beacon": b"\x00" + RADIOTAP["flags"] + b"\x80\x00" + bytes(60),
    "ppi": b"\x01" + ppi(common(1)) + data_frame(8, 1, 26),
    "ppi_bad": b"\x01" + ppi(common(2)) + data_frame(8, 1, 26),
    "plain": b"\x69" + data_frame(0, 1, 24),
}


def attribute(kind, value=b""):
    """As linux/netlink.h has it, in this machine's byte order."""
    if isinstance(value, int):
        value = struct.pack("=I", value)
    return struct.pack("=HH", 4 + len(value), kind) + value + bytes(-len(value) % 4)


def frequency(megahertz, *flags):
    return attribute(0, attribute(1, megahertz) + b"".join(attribute(flag) for flag in flags))


def band(kind, *members):
    return attribute(22, attribute(kind, b"".join(members)))


def pieces(*messages):
    return b"\x02" + b"".join(struct.pack("<H", len(message)) + message for message in messages)


def network(elements, status=1, container=6):
    return b"\x01" + attribute(47, attribute(1, b"\x02\0\0\0\1\0") + attribute(container, elements) + attribute(9, status))


# The numbers are those of linux/nl80211.h: interface 3, name 4, type 5, address 6; frequency 38, width 159, centre 160.
INTERFACE = attribute(3, 3) + attribute(4, b"wlan0\0") + attribute(1, 0) + attribute(5, 2) + attribute(6, b"\2\0\0\0\0\0")
HIGH = [frequency(5180 + 20 * step) for step in range(8)]
JOINS = (attribute(4, struct.pack("=H", 2)), attribute(8, 0x403071B4), attribute(7, bytes(7) + b"\x20"))
NETLINK = {
    "interface": b"\x00" + INTERFACE + attribute(38, 5180) + attribute(159, 3) + attribute(160, 5210),
    "interface_down": b"\x00" + INTERFACE,
    "interface_too_long": b"\x00" + INTERFACE + b"\xff\x7f\x26\x00" + bytes(4),
    "p2p": b"\x00" + INTERFACE[8:],
    "associated": network(b"\x01\x02\x82\x84\x00\x03Lab"),
    "hidden": network(b"\x00\x00", container=11),
    "other_status": network(b"\x00\x03Lab", status=0),
    "element_too_long": network(b"\x00\xffLab"),
    "wiphy": pieces(band(1, *JOINS, attribute(1, b"".join(HIGH))), band(0, attribute(1, frequency(2412, 2)))),
    "wiphy_split": pieces(attribute(1, 0), band(1, *JOINS), *(band(1, attribute(1, one)) for one in HIGH)),
    "wiphy_flags": pieces(band(1, *JOINS, attribute(1, HIGH[0] + frequency(5200, 9, 10, 11, 12)))),
    "wiphy_low": pieces(band(0, JOINS[0], attribute(1, frequency(2412) + frequency(2432, 10)))),
    "wiphy_flat": pieces(attribute(22, HIGH[0])),
}


def message(kind, fields=b"", request=1):
    return struct.pack("<BBI", 1, kind, request) + fields


def text(value):
    return struct.pack("<H", len(value)) + value


def state(name, mode, ssid, bssid, channel, power):
    return message(6, text(name) + bytes([mode]) + text(ssid) + text(bssid) + channel + bytes([power]), 0)


PROTOCOL = {
    "set_channel": message(0, struct.pack("<HBB", 36, 2, 3)),
    "set_channel_no_band": message(0, struct.pack("<HBB", 36, 0, 3)),
    "power_on": message(1, b"\x01"),
    "power_2": message(1, b"\x02"),
    "disassociate": message(2),
    "begin_monitor": message(3, b"\x00"),
    "probe": message(3, b"\x01"),
    "end_monitor": message(4),
    "done": message(5, text(b"") * 2 + text(b"vantrel0")),
    "done_failed": message(5, text(b"NL80211_CMD_SET_CHANNEL") + text("kein Gerät".encode()) + text(b"")),
    "done_not_utf8": message(5, text(b"\xc3") + text(b"") * 2),
    "done_mark": message(5, text("\ufeff\uffff\x00".encode()) + text(b"") * 2),
    "state": state(b"wlan0", 1, "Café".encode(), b"02:00:00:00:00:00", struct.pack("<BHBB", 1, 6, 1, 1), 1),
    "state_absent": state(b"", 0, b"", b"", b"\x00", 0),
    "state_mode_2": state(b"wlan0", 2, b"", b"", b"\x00", 1),
    "channels": message(7, struct.pack("<HHBBHBB", 2, 1, 1, 1, 36, 2, 4), 0),
    "channels_too_many": message(7, struct.pack("<HHBB", 2, 1, 1, 1), 0),
    "left_over": message(4, b"\x00"),
    "unknown": message(8),
    "version_2": b"\x02" + message(4)[1:],
}



def management(subtype, length=40, version=0, wrong=0):
    frame = (bytes([subtype << 4 | version, 0]) + bytes(14) + b"\x00\x1a\x2b\x3c\x4d\x5e" + b"\x00\x03Lab" * 9)[:length]
    return frame + struct.pack("<I", binascii.crc32(frame) ^ wrong)


SIGNAL = radiotap([bits(1, 5, 6)], b"\x10\xc4\xa1")
PACKET = {
    "beacon": SIGNAL + management(8),
    "probe_response": SIGNAL + management(5),
    "probe_request": SIGNAL + management(4),
    "data": SIGNAL + data_frame(0, 1, 24),
    "version_1": SIGNAL + management(8, version=1),
    "wrong_check": SIGNAL + management(8, wrong=1),
    "check_alone": SIGNAL + management(8, length=0),
    "one_byte": SIGNAL + management(8, length=1),
    "cut_in_address": SIGNAL + management(8, length=21),
    "address_alone": SIGNAL + management(8, length=22),
    "three_antennas": radiotap([bits(5, 6) | CHAIN, bits(5, 6) | CHAIN, bits(5)], b"\xc4\xa1\xce\xa0\xd8") + management(8),
    "no_signal": RADIOTAP["empty"] + management(8),
    "field_25": RADIOTAP["field_25"] + management(8),
    "signal_too_long": radiotap([bits(5, 6)], b"\xc4") + management(8),
    "header_too_long": b"\x00\x00\xff\xff" + bytes(4) + management(8),
    "header_of_nothing": bytes(8) + management(8),
}

def element(number, data):
    return bytes([number, len(data)]) + data


def announced(*elements, header=RADIOTAP["flags"], kind=0x80):
    frame = bytes([kind, 0]) + bytes(14) + b"\2\0\0\0\0\1" + bytes(10) + b"\x64\0\x11\0" + b"".join(elements)
    return header + frame


def record(frame):
    length = struct.unpack_from("<H", frame, 2)[0]
    whole = frame + struct.pack("<I", binascii.crc32(frame[length:]))
    return struct.pack(">I", len(whole)) + whole


SUITE = b"\x00\x0f\xac"
RSN = b"\1\0" + SUITE + b"\4\1\0" + SUITE + b"\4\2\0" + SUITE + b"\2" + SUITE + b"\x08\x80\0"
WPA = b"\0\x50\xf2\1\1\0\0\x50\xf2\2\1\0\0\x50\xf2\2\1\0\0\x50\xf2\2"
SUITES = (1, 5, 8, 12, 18, 25)
LAB = element(0, b"Lab")
FEED = {
    "stream": b"\0" + record(announced(LAB)) + record(announced(LAB, kind=0x50)),
    "stream_empty_record": b"\0" + bytes(4) + record(announced(LAB)),
    "stream_cut": b"\0" + record(announced(LAB))[:-3],
    "stream_too_long": b"\0" + b"\xff\xff\xff\xff" + record(announced(LAB)),
    "heard": b"\1" + announced(LAB, header=radiotap([bits(3, 5, 6)], b"\x6c\x09\xa0\0\xc4\xa1")),
    "country": b"\1" + announced(LAB, element(3, b"\6"), element(7, b"DE \1\x0d\x14")),
    "hidden": b"\1" + announced(element(0, b""), element(48, RSN)),
    "escapes": b"\1" + announced(element(0, b"\x1b[2J\xc2\x9b\xe2\x80\xae\xff\\")),
    "wide": b"\1" + announced(element(0, "咖啡é".encode())),
    "wpa": b"\1" + announced(LAB, element(221, WPA)),
    "owe_transition": b"\1" + announced(LAB, element(221, b"\x50\x6f\x9a\x1c\1")),
    "ht": b"\1" + announced(LAB, element(61, b"\x24\5" + bytes(20))),
    "vht": b"\1" + announced(LAB, element(61, b"\x24\5" + bytes(20)), element(192, b"\1\x2a\x32\0\0")),
    "he": b"\1" + announced(LAB, element(255, b"\x24\0\xc0\2\1\0\0\1\x2a\0\2\5\2\7\0\6")),
    "eht": b"\1" + announced(LAB, element(255, b"\x6a\1\0\0\0\0\4\x1f\x2f")),
    "rsn_count": b"\1" + announced(LAB, element(48, RSN[:6] + b"\xff\xff")),
    "element_too_long": b"\1" + announced(LAB, b"\x30\xff\1\0"),
}

ELEMENTS = {
    "lab": LAB,
    "hidden": element(0, b"") + element(48, RSN),
    "channel": LAB + element(3, b"\6") + element(7, b"DE \1\x0d\x14"),
    "country_unknown": element(7, b"d3 "),
    "wpa": element(221, WPA),
    "owe_transition": element(221, b"\x50\x6f\x9a\x1c\1"),
    "other_vendor": element(221, b"\0\x50\xf2\4\x10\x4a\0\1\x10") + element(221, b"\0\x50"),
    "suites": element(48, RSN[:6] + b"\1\0" + SUITE + b"\4\6\0" + b"".join(SUITE + bytes([n]) for n in SUITES)),
    "rsn_alone": element(48, b"\1\0"),
    "rsn_count": element(48, RSN[:6] + b"\xff\xff"),
    "ht": element(61, b"\x24\5" + bytes(20)),
    "ht_short": element(61, b"\x24\5"),
    "vht": element(61, b"\x24\5" + bytes(20)) + element(192, b"\1\x2a\x32\0\0"),
    "vht_160": element(192, b"\2\x32\0\0\0"),
    "he": element(255, b"\x24\0\xc0\2\1\0\0\1\x2a\0\2\5\2\7\0\6"),
    "he_twice": element(255, b"\x24") + element(255, b"\x24\0\0\2\1\0\0\5\3\7\x27\6"),
    "eht": element(255, b"\x6a\1\0\0\0\0\4\x1f\x2f"),
    "ssid_twice": LAB + element(0, b"Other"),
    "ssid_too_long": element(0, bytes(range(1, 34))),
    "element_too_long": LAB + b"\x30\xff\1\0",
}


def pcap_file(*frames, link=127, magic=0xA1B2C3D4, order="<"):
    header = struct.pack(order + "IHHiIII", magic, 2, 4, 0, 0, 2048, link)
    return header + b"".join(struct.pack(order + "IIII", 1, 2, len(one), len(one) + 4) + one for one in frames)


DATA = RADIOTAP["flags"] + data_frame(0, 1, 24)
RECORD = {
    "stream": b"\0" + pcap_file(DATA, SIGNAL + management(8)),
    "stream_ppi": b"\0" + pcap_file(ppi(common(1)) + data_frame(8, 1, 26), link=192),
    "stream_plain": b"\0" + pcap_file(data_frame(0, 1, 24), link=105),
    "stream_big_endian": b"\0" + pcap_file(DATA, order=">"),
    "stream_nanoseconds": b"\0" + pcap_file(DATA, magic=0xA1B23C4D),
    "stream_empty_frame": b"\0" + pcap_file(b"", DATA),
    "stream_too_long": b"\0" + pcap_file(DATA + bytes(2100)),
    "stream_cut": b"\0" + pcap_file(DATA, DATA)[:-30],
    "stream_no_magic": b"\0" + bytes(24) + DATA,
    "end_whole": b"\1" + pcap_file(DATA, DATA)[24:],
    "end_in_frame": b"\1" + pcap_file(DATA, DATA)[24:-1],
    "end_in_header": b"\1" + pcap_file(DATA, b"")[24:-1],
    "end_huge": b"\1" + bytes(8) + b"\xff" * 8 + DATA,
}
REPLIES = {
    "cloudshark": b'\0{"id": "9f3a", "filename": "b c.pcap"}',
    "cloudshark_number": b'\0{"id": 9007199254740993, "filename": true}',
    "cloudshark_path": b'\0{"id": "../@evil.example/?a#b\\u00e9\\ud800", "filename": ""}',
    "cloudshark_dots": b'\0{"id": "..", "filename": "x"}',
    "cloudshark_object": b'\0{"id": {"a": [1, 2.5, null]}, "filename": []}',
    "cloudshark_refused": b'\0{"exceptions": ["Invalid token", "another"]}',
    "cloudshark_refused_none": b'\0{"exceptions": []}',
    "cloudshark_refused_text": b'\0{"id": null, "exceptions": "%1 100%"}',
    "cloudshark_list": b'\0["id", "filename", "exceptions"]',
    "cloudshark_page": b"\0<html>no</html>",
    "cloudshark_marked": b'\0\xef\xbb\xbf {"id": 1, "filename": "b"}',
    "mojo": b'\1{"message": "ok", "email": "a@b.example", "ticket": "T-1", "trace_id": 77}',
    "mojo_percent": b'\1{"email": "%2%3", "ticket": "%1", "trace_id": "%L1&x=\\n"}',
    "mojo_refused": b'\1{"message": "Quota.", "email": "a"}',
    "mojo_refused_empty": b'\1{"message": ""}',
    "mojo_list": b"\1[]",
    "mojo_unknown": b'\1<h1>"TracefileController.apiHash" is not defined</h1>',
    "mojo_nothing": b"\1",
}
DEBTS = {
    "all": b'{"address":"02:00:00:00:00:00","handBack":true,"interface":"wlan0",'
           b'"p2pDevices":["7","18446744073709551615"],"raiseLink":true}',
    "link": b'{"interface": "wlan0", "raiseLink": true}',
    "nothing": b'{"interface": "wlan0"}',
    "no_interface": b'{"interface": "", "raiseLink": true}',
    "number": b'{"interface": 7, "raiseLink": true}',
    "long_name": b'{"interface": "wlan0123456789abcdef", "raiseLink": true}',
    "escape": b'{"interface": "\\u001b[2J", "raiseLink": true}',
    "address": b'{"interface": "wlan0", "address": "' + b"02:" * 60 + b'", "raiseLink": true}',
    "devices": b'{"interface": "wlan0", "p2pDevices": [' + b",".join([b'" 1"'] * 70) + b"]}",
    "not_numbers": b'{"interface": "wlan0", "p2pDevices": [1, "-1", "x", null, "+3"]}',
    "list": b"[1]",
    "cut": b'{"interface": "wlan0", "raise',
}
ENTRY = b"[Desktop Entry]\nType=Application\nName=Vantrel\nExec=%s\nX-GNOME-Autostart-enabled=%s\n"
AUTOSTART = {
    "entry": ENTRY % (b'"/usr/bin/vantrel"', b"true"),
    "off": ENTRY % (b'"/usr/bin/vantrel"', b"false"),
    "hidden": ENTRY % (b"/nonexistent/vantrel %U", b"true") + b"Hidden=true\n",
    "escapes": ENTRY % (b'"/a\\\\\\\\b\\\\\\"c\\\\$ %%\\s\\t\\q" x', b"true"),
    "other_group": b"[Other]\nExec=/nonexistent/vantrel\n#Exec=x\n[Desktop Entry]\n=\nExec\n",
    "path": b"usr/bin/a b\"\\`$%\n\t\xc3\xa9",
    "path_up": b"../..//a/./b/",
}


def arguments(kind, data=b""):
    """The type of the arguments behind its length, then the value as GVariant serializes it."""
    return bytes([len(kind)]) + kind + data


def variant(kind, data):
    return data + b"\0" + kind


DBUS = {
    "path": arguments(b"(o)", b"/org/freedesktop/NetworkManager/Devices/2\0"),
    "path_is_text": arguments(b"(s)", b"/org\0"),
    "managed": arguments(b"(v)", variant(b"b", b"\1")),
    "managed_is_text": arguments(b"(v)", variant(b"s", b"false\0")),
    "managed_in_two": arguments(b"(v)", variant(b"v", variant(b"b", b"\1"))),
    "state": arguments(b"(is)", struct.pack("=i", 2) + b"\0"),
    "state_unsigned": arguments(b"(us)", struct.pack("=I", 2) + b"\0"),
    "name": arguments(b"(s)", b"host\0"),
    "name_empty": arguments(b"(s)", b"\0"),
    "item": arguments(b"(iisssu)", struct.pack("=ii", 1, 0) + b"feed\0_vantrel._tcp\0local\0\0\0\0"
                      + struct.pack("=I", 0) + bytes([33, 27, 13])),
    "resolved": arguments(b"(iissssisqaayu)", struct.pack("=ii", 1, 0) + b"f\0t\0l\0h\0" + struct.pack("=i", 0) + b"a\0"
                          + struct.pack("=HI", 5555, 0) + bytes([24, 22, 16, 14, 12, 10])),
    "scheme": arguments(b"(ssv)", b"org.freedesktop.appearance\0color-scheme\0"
                        + variant(b"u", struct.pack("=I", 1)) + bytes([40, 27])),
    "scheme_read": arguments(b"(v)", variant(b"v", variant(b"u", struct.pack("=I", 2)))),
    "scheme_text": arguments(b"(v)", variant(b"s", b"1\0")),
    "dictionary": arguments(b"(a{sv})", b"a\0" + bytes(6)),
    "lists": arguments(b"(asayavh)", bytes(24)),
    "numbers": arguments(b"(bynqiuxtdg)", bytes(64)),
    "no_tuple": arguments(b"aai", bytes(12)),
    "maybe": arguments(b"(mi)", bytes(4)),
    "no_type": arguments(b"(i", bytes(4)),
}

for name, inputs in (("radiotap", RADIOTAP), ("ppi", PPI), ("slicing", SLICING), ("netlink", NETLINK),
                     ("protocol", PROTOCOL), ("packet", PACKET), ("feed", FEED), ("elements", ELEMENTS),
                     ("record", RECORD), ("replies", REPLIES), ("debts", DEBTS), ("autostart", AUTOSTART),
                     ("dbus", DBUS)):
    os.makedirs(os.path.join(FOLDER, name), exist_ok=True)
    for file, data in inputs.items():
        with open(os.path.join(FOLDER, name, file), "wb") as out:
            out.write(data)
