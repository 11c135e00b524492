"""Frames with radiotap headers for the comparison with tshark: every field at every alignment, random combinations of
them, and damaged headers. All of it follows from the random generator that is handed in.
"""
import binascii
import struct
from pathlib import Path

from beside_tshark import LLC, ORDER

CORPUS = Path(__file__).resolve().parents[3] / "fuzz" / "corpus" / "radiotap"

# Alignment and size of each field (radiotap.org, defined and suggested fields). FHSS is two single bytes there, but
# receivers write it, and parsers read it, like one word of 16 bits.
LAYOUT = dict(enumerate([
    (8, 8), (1, 1), (1, 1), (2, 4), (2, 2), (1, 1), (1, 1), (2, 2), (2, 2), (2, 2), (1, 1), (1, 1), (1, 1), (1, 1),
    (2, 2), (2, 2), (1, 1), (1, 1), (4, 8), (1, 3), (4, 8), (2, 12), (8, 12), (2, 12), (2, 8), (2, 6), (1, 1), (2, 4)]))
FLAGS, CHANNEL, XCHANNEL, TLV = 1, 3, 18, 28
RADIOTAP_NAMESPACE, VENDOR_NAMESPACE, EXTENDED = 29, 30, 31
KNOWN = [number for number in range(23) if number != XCHANNEL]
NEWER = [XCHANNEL, 23, 24, 25, 26, 27, TLV]
ONE_BYTE = [1, 2, 5, 6, 10, 11, 12]  # as many as shift what follows by 0 to 7 bytes
FCS, PADDING, BAD = 0x10, 0x20, 0x40


def bits(*numbers):
    return sum(1 << number for number in numbers)


AGAIN = bits(RADIOTAP_NAMESPACE, EXTENDED)


def header(words, fields, length=None):
    whole = 4 + 4 * len(words) + len(fields)
    return struct.pack("<BBH%dI" % len(words), 0, 0, whole if length is None else length, *words) + fields


def field_bytes(rng, number):
    if number == FLAGS:
        return bytes([rng.choice((0, FCS, FCS, FCS | PADDING, FCS | PADDING, PADDING, FCS | BAD, rng.randrange(256)))])
    if number == CHANNEL:
        return struct.pack("<HH", rng.randrange(10000), rng.randrange(65536))
    return rng.randbytes(LAYOUT[number][1])


def lay_out(rng, words):
    """The bytes behind the present words, where a reader of these words expects them. What has no known size gets some
    bytes too."""
    start = 4 + 4 * len(words)
    out = bytearray()

    def align(alignment):
        out.extend(rng.randbytes(-(start + len(out)) % alignment))

    standard, first, restart = True, 0, False
    for word in words:
        for bit in range(EXTENDED):
            if not word >> bit & 1:
                continue
            if bit == RADIOTAP_NAMESPACE:
                standard = restart = True
            elif bit == VENDOR_NAMESPACE:
                standard, restart = False, True
                align(2)
                skip = rng.choice((0, 1, 2, 5, 8, 30))
                out += rng.randbytes(4) + struct.pack("<H", skip) + rng.randbytes(skip)
            elif standard and first + bit in LAYOUT:
                align(LAYOUT[bit][0])
                out += field_bytes(rng, bit)
            elif standard:
                out += rng.randbytes(4)
        first = 0 if restart else first + 32
        restart = False
    return bytes(out)


def singles(rng):
    """Each field alone behind none to seven bytes of other fields: whole, and one byte short."""
    for number in list(LAYOUT) + [TLV]:
        for shift in range(8):
            words = [bits(*ONE_BYTE[:shift]) | AGAIN, bits(number)]
            fields = lay_out(rng, words)
            yield "single", header(words, fields)
            yield "single, one byte short", header(words, fields[:-1])


def seldom(rng):
    """What chance would bring about too seldom: a header, and a frame to go with it."""
    padded = bytes([FCS | PADDING])
    yield header([bits(FLAGS)], padded), data_frame(rng, FCS | PADDING, 8, True)
    yield header([bits(CHANNEL)], struct.pack("<HH", 60480, 0)), data_frame(rng, 0, 8, True)
    yield header([0], b""), b"\x89" + data_frame(rng, 0, 8, False)[1:]  # of protocol version 1
    yield header([bits(FLAGS) | AGAIN, bits(FLAGS)], padded + bytes([FCS])), data_frame(rng, FCS, 8, False)
    for number in (XCHANNEL, TLV):
        words = [bits(VENDOR_NAMESPACE, EXTENDED), bits(number) | AGAIN, bits(5, 11)]
        yield header(words, lay_out(rng, words) + bytes(16)), data_frame(rng, 0, 0, False)
    yield header([bits(22)], rng.randbytes(19) + b"\x02"), b""  # its accuracy is told, and nothing follows


def some_word(rng):
    numbers = KNOWN if rng.random() < 0.85 else KNOWN + NEWER
    density = rng.choice((0.05, 0.2, 0.5))
    return bits(*(number for number in numbers if rng.random() < density))


def combination(rng):
    """Up to eight words; one leads to the next by either namespace, by neither, or by what may not be: by both."""
    words = [some_word(rng) for _ in range(rng.choice((1, 1, 1, 2, 2, 3, 4, 8)))]
    ways = [bits(RADIOTAP_NAMESPACE)] * 12 + [bits(VENDOR_NAMESPACE)] * 4 + [0] * 2
    ways.append(bits(RADIOTAP_NAMESPACE, VENDOR_NAMESPACE))
    for at in range(len(words) - 1):
        words[at] |= rng.choice(ways) | bits(EXTENDED)
    if rng.random() < 0.05:
        words[-1] |= rng.choice(ways)
    fields = lay_out(rng, words)
    end = rng.random()
    if end < 0.15:
        fields += rng.randbytes(rng.randrange(1, 9))
    elif end < 0.3:
        fields = fields[:rng.randrange(len(fields) + 1)]
    return "combination", header(words, fields)


def chain(rng):
    """Many present words, which may not end within the header."""
    words = [bits(EXTENDED) | rng.choice((0, 0, bits(RADIOTAP_NAMESPACE), AGAIN | some_word(rng)))
             for _ in range(rng.randrange(1, 40))]
    endless = rng.random() < 0.5
    if not endless:
        words[-1] = some_word(rng)
    fields = b"" if endless and rng.random() < 0.5 else lay_out(rng, words)
    whole = 4 + 4 * len(words)
    return "chain", header(words, fields, rng.choice((None, None, None, whole - 1, whole - 4, 8)))


def damaged(rng, whole):
    """A header with some bits or bytes changed, of the length field's own too."""
    data = bytearray(whole)
    for _ in range(rng.choice((1, 1, 2, 4))):
        kind = rng.randrange(4)
        if kind == 0 and data:
            data[rng.randrange(len(data))] ^= 1 << rng.randrange(8)
        elif kind == 1 and data:
            data[rng.randrange(len(data))] = rng.randrange(256)
        elif kind == 2 and len(data) > 3:
            length = data[2] | data[3] << 8
            data[2:4] = struct.pack("<H", max(0, min(0xFFFF, length + rng.choice((-9, -4, -2, -1, 1, 2, 4, 9)))))
        elif len(data) > 7:  # in the present words, where most happens
            data[rng.randrange(4, 8)] ^= 1 << rng.randrange(8)
    return "damaged", bytes(data)


def data_frame(rng, flags, subtype, order):
    """With the flags for FCS and PADDING, these too."""
    ds = rng.randrange(4)
    control = bytes([subtype << 4 | 8, ds | rng.choice((0, 0, 0x08)) | rng.choice((0, 0, 0x10)) | ORDER * order])
    head = control + rng.randbytes(2) + b"\x02" + rng.randbytes(17) + struct.pack("<H", rng.randrange(4096) << 4)
    if ds == 3:
        head += b"\x02" + rng.randbytes(5)
    if subtype & 8:
        head += bytes([rng.randrange(8), 0]) + (bytes(4) if order else b"")  # QoS control, HT control
    body = b"" if subtype & 4 else LLC + rng.randbytes(rng.choice((0, 1, 7, 20)))
    padding = rng.randbytes(-len(head) % 4) if flags & PADDING and rng.random() < 0.9 else b""
    return head + padding + body + check_sequence(rng, flags, head + body)


def other_frame(rng, flags):
    if rng.random() < 0.3:
        return rng.randbytes(rng.randrange(40))
    control = rng.choice((b"\x80\x00", b"\x50\x00", b"\xb4\x00", b"\xc4\x00", b"\xd4\x00"))
    whole = control + bytes(2) + b"\x02" + rng.randbytes(17) + rng.randbytes(2) + bytes(12)
    return whole + check_sequence(rng, flags, whole)


def check_sequence(rng, flags, checked):
    """Where the flags tell of one; it may be wrong, or missing."""
    if not flags & FCS or rng.random() < 0.03:
        return b""
    return struct.pack("<I", binascii.crc32(checked) ^ (rng.random() < 0.15) << rng.randrange(32))


def frame(rng, flags):
    """A frame as a receiver with these flags gives it, more or less."""
    if rng.random() < 0.2:
        return other_frame(rng, flags)
    return data_frame(rng, flags, rng.choice((0, 8, 8, 8, rng.randrange(16))), rng.random() < 0.05)


def told_flags(data):
    """The flags of a header whose first word has them, which is all that the choice of a frame needs."""
    if len(data) < 12:
        return 0
    word, at = int.from_bytes(data[4:8], "little"), 8
    while data[at - 1] & 0x80 and at + 4 < len(data):
        at += 4
    at = (at + 7 & ~7) + 8 if word & 1 else at
    return data[at] if word & 2 and at < len(data) else 0


def records(rng, count):
    """So many records, and at least all single fields and what is seldom; each the name of its kind and the bytes that
    were captured."""
    corpus = [path.read_bytes() for path in sorted(CORPUS.iterdir()) if path.is_file()]
    made = 0
    for kind, data in singles(rng):
        yield kind, data + frame(rng, told_flags(data))
        yield "header alone", data
        made += 2
    for data, own_frame in (pair for _ in range(8) for pair in seldom(rng)):
        yield "seldom", data + own_frame
        made += 1
    while made < count:
        kind, data = chain(rng) if rng.random() < 0.08 else combination(rng)
        if rng.random() < 0.45:
            kind, data = damaged(rng, rng.choice(corpus) if rng.random() < 0.2 else data)
        captured = data + frame(rng, told_flags(data))
        if rng.random() < 0.03:
            kind, captured = "cut", captured[:rng.randrange(len(captured) + 1)]
        yield kind, captured
        made += 1
