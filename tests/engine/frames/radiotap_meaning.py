"""What tshark shows of each radiotap field, from the field's bytes as radiotap.org defines them.

Each field number has a list of (column, function of the bytes). A function gives the column's value; None where tshark
shows nothing for these bytes; ANY where it shows something that is its own conclusion.
"""

ANY = object()


def unsigned(at, size=1, mask=~0):
    """The masked bits of a little-endian number, moved down to bit 0."""
    shift = (mask & -mask).bit_length() - 1
    return lambda data: (int.from_bytes(data[at:at + size], "little") & mask) >> shift


def signed(at):
    return lambda data: int.from_bytes(data[at:at + 1], "little", signed=True)


def bit(at, mask, size=1):
    return lambda data: int(int.from_bytes(data[at:at + size], "little") & mask != 0)


def when(mask, value, size=1):
    """The value, if one of these bits of the known word in front says that it is known."""
    return lambda data: value(data) if int.from_bytes(data[:size], "little") & mask else None


def user(number, value):
    """Of a VHT user, who is there if there are spatial streams for him."""
    return lambda data: value(data) if data[4 + number] & 0x0F else None


def bits_of(prefix, names, size=1, at=0, first=1):
    """Consecutive bits from `first` on."""
    return [(prefix + name, bit(at, first << place, size)) for place, name in enumerate(names.split())]


def rate_by_mcs(data):
    """tshark computes a rate where index, bandwidth and guard interval are known and the index is one of 802.11n."""
    return ANY if data[0] & 7 == 7 and data[2] <= 76 else None


CHANNEL_FLAGS = "turbo cck ofdm 2ghz 5ghz passive dynamic gfsk gsm sturbo half quarter"

MEANING = {
    0: [("radiotap.mactime", unsigned(0, 8))],
    1: [("radiotap.flags", unsigned(0))]
       + bits_of("radiotap.flags.", "cfp preamble wep frag fcs datapad badfcs shortgi"),
    2: [("radiotap.datarate", lambda data: data[0] / 2)],
    3: [("radiotap.channel.freq", unsigned(0, 2)), ("radiotap.channel.flags", unsigned(2, 2))]
       + bits_of("radiotap.channel.flags.", CHANNEL_FLAGS, 2, 2, 0x10),
    4: [("radiotap.fhss.hopset", unsigned(0)), ("radiotap.fhss.pattern", unsigned(1))],
    5: [("radiotap.dbm_antsignal", signed(0))],
    6: [("radiotap.dbm_antnoise", signed(0))],
    7: [("radiotap.quality", unsigned(0, 2))],
    8: [("radiotap.txattenuation", unsigned(0, 2))],
    9: [("radiotap.db_txattenuation", unsigned(0, 2))],
    10: [("radiotap.txpower", signed(0))],
    11: [("radiotap.antenna", unsigned(0))],
    12: [("radiotap.db_antsignal", unsigned(0))],
    13: [("radiotap.db_antnoise", unsigned(0))],
    14: [("radiotap.rxflags", unsigned(0, 2)), ("radiotap.rxflags.badplcp", bit(0, 2, 2))],
    15: [("radiotap.txflags", unsigned(0, 2))] + bits_of("radiotap.rxflags.", "fail cts rts noack noseqno", 2),
    16: [],
    17: [("radiotap.data_retries", unsigned(0))],
    19: [("radiotap.mcs.known", unsigned(0)),
         ("radiotap.mcs.have_bw", bit(0, 0x01)), ("radiotap.mcs.have_index", bit(0, 0x02)),
         ("radiotap.mcs.have_gi", bit(0, 0x04)), ("radiotap.mcs.have_format", bit(0, 0x08)),
         ("radiotap.mcs.have_fec", bit(0, 0x10)), ("radiotap.mcs.have_stbc", bit(0, 0x20)),
         ("radiotap.mcs.bw", when(0x01, unsigned(1, 1, 0x03))), ("radiotap.mcs.gi", when(0x04, unsigned(1, 1, 0x04))),
         ("radiotap.mcs.format", when(0x08, unsigned(1, 1, 0x08))),
         ("radiotap.mcs.fec", when(0x10, unsigned(1, 1, 0x10))),
         ("radiotap.mcs.stbc", when(0x20, unsigned(1, 1, 0x60))), ("radiotap.mcs.index", when(0x02, unsigned(2))),
         ("radiotap.datarate", rate_by_mcs)],
    20: [("radiotap.ampdu.reference", unsigned(0, 4)), ("radiotap.ampdu.flags", unsigned(4, 2)),
         ("radiotap.ampdu.delim_crc", lambda data: data[6] if data[4] & 0x20 else None)]
        + bits_of("radiotap.ampdu.flags.", "report_zerolen is_zerolen lastknown last delim_crc_error", 2, 4),
    21: [("radiotap.vht.have_stbc", bit(0, 0x01)), ("radiotap.vht.have_txop_ps", bit(0, 0x02)),
         ("radiotap.vht.have_gi", bit(0, 0x04)), ("radiotap.vht.have_sgi_nsym_da", bit(0, 0x08)),
         ("radiotap.vht.have_beamformed", bit(0, 0x20)), ("radiotap.mcs.have_bw", bit(0, 0x40)),
         ("radiotap.mcs.have_gid", bit(0, 0x80)), ("radiotap.mcs.have_paid", bit(0, 0x100, 2)),
         ("radiotap.vht.stbc", when(0x01, bit(2, 0x01))), ("radiotap.vht.txop_ps", when(0x02, bit(2, 0x02))),
         ("radiotap.vht.gi", when(0x04, unsigned(2, 1, 0x04))), ("radiotap.vht.sgi_nsym_da", when(0x08, bit(2, 0x08))),
         ("radiotap.vht.beamformed", when(0x20, bit(2, 0x20))), ("radiotap.vht.bw", when(0x40, unsigned(3))),
         ("radiotap.vht.gid", when(0x80, unsigned(9))), ("radiotap.vht.paid", when(0x100, unsigned(10, 2), 2))]
        + [pair for number in range(4) for pair in (
            (f"radiotap.vht.mcs.{number}", user(number, unsigned(4 + number, 1, 0xF0))),
            (f"radiotap.vht.nss.{number}", user(number, unsigned(4 + number, 1, 0x0F))),
            (f"radiotap.vht.coding.{number}", user(number, unsigned(8, 1, 1 << number))))],
    22: [("radiotap.timestamp.ts", unsigned(0, 8)), ("radiotap.timestamp.unit", unsigned(10, 1, 0x0F)),
         ("radiotap.timestamp.samplingpos", unsigned(10, 1, 0xF0)), ("radiotap.timestamp.flags.32bit", bit(11, 0x01)),
         ("radiotap.timestamp.flags.accuracy", bit(11, 0x02)),
         ("radiotap.timestamp.accuracy", lambda data: int.from_bytes(data[8:10], "little") if data[11] & 2 else None)],
    30: [("radiotap.vendor_oui", lambda data: int.from_bytes(data[:3], "big")), ("radiotap.vendor_subns", unsigned(3)),
         ("radiotap.vendor_data_len", unsigned(4, 2))],
}
COLUMNS = sorted({column for shown in MEANING.values() for column, _ in shown})


def expected(fields):
    """By column what tshark is to show of these fields, each (number, bytes)."""
    columns = {column: [] for column in COLUMNS}
    for number, data in fields:
        for column, value in MEANING[number]:
            shown = value(data)
            if shown is not None:
                columns[column].append(shown)
    return columns
