"""What stands in the files of a capture of the simulated radio's load, read with nothing but struct.

The load's frames say themselves which they are: the one with number n is due n / rate seconds after the radio's start,
and that time is its TSFT; its sequence number and, where the body is kept, its packet number are n too. So a frame that
is missing, doubled or in the wrong place is seen, and which it is.

The radio hears nothing while it is tuned, so numbers may be left out where the frequency changes. A round of hopping
begins by tuning to its first channel twice, so there they may be left out once more on the same frequency. All else
that is missing is a hole.
"""
import struct
import zlib
from dataclasses import dataclass, field

MICROSECONDS = 1_000_000
MOST_A_SECOND = MICROSECONDS  # beyond that, two frames would have one TSFT
TUNING = 2_000        # µs that the simulated radio takes for it, at least
RADIO_PAUSE = 500_000  # µs: a simulated radio that is further behind leaves frames out instead of sending them late

FILE_HEADER = struct.Struct("<IHHiIII")
FILE_START = (0xa1b2c3d4, 2, 4, 0, 0, 2048, 127)
RECORD_BYTES = 16
# A record's header; a radiotap header of TSFT, flags, rate, channel, signal, noise and antenna; a QoS data header.
RECORD = struct.Struct("<IIII 2xHI Q 2xH 5x H2x6x6s6xH2x")
LOAD_TRANSMITTER = bytes.fromhex("025a17ff0001")
RADIOTAP_BYTES = 25
SLICED = RADIOTAP_BYTES + 26                 # the radio's header and the data header
WHOLE = SLICED + 8 + 200 + 8 + 4             # and CCMP, the body, its integrity code and the check sequence
QOS_DATA = 0x0088
MOST_TOLD = 20                               # faults that are told one by one


@dataclass
class Findings:
    """Of the files read so far."""
    files: int = 0
    records: int = 0
    load: int = 0           # of them the radio's load
    sliced: int = 0         # of the load
    started: int = 0        # times of the first and the last record, µs since 1970
    ended: int = 0
    hops: int = 0           # changes of frequency
    longest_hop: int = 0    # µs of TSFT from the last load frame before to the first after one
    pauses: int = 0         # times the radio itself fell behind
    holes: int = 0
    missing: int = 0        # frames in those holes
    backward: int = 0       # load frames that came again, or too late
    time_back: int = 0      # records whose time is before that of the one before them
    tsft_back: int = 0
    altered: int = 0        # frames that are not what was sent
    torn: int = 0           # files that are no whole pcap file
    told: list = field(default_factory=list)
    marks: dict = field(default_factory=dict)  # time: how many records have that time or an earlier one

    def tell(self, text):
        if len(self.told) < MOST_TOLD:
            self.told.append(text)


class Capture:
    """The files of one capture, read in the order in which they were written; whether it hops."""

    def __init__(self, rate, hops=True):
        self._rate = rate
        self._hops = hops
        self._number = None      # of the last load frame
        self._frequency = 0
        self._home = 0           # the frequency of the round's first channel
        self._tuned_again = False  # in this visit of it
        self._tsft = 0
        self._load_tsft = 0
        self.findings = Findings()

    def read(self, path, marks=()):
        """Reads the next file. Marks are times in µs, ascending: for each that the records reach, how many records
        there were up to it is found. A caller may give earlier marks again."""
        found = self.findings
        found.files += 1
        with open(path, "rb") as file:
            content = file.read()
        if len(content) < FILE_HEADER.size or FILE_HEADER.unpack_from(content) != FILE_START:
            found.torn += 1
            found.tell(f"{path} does not begin as a capture file")
            return found
        pending = [mark for mark in marks if mark not in found.marks and mark >= found.ended] + [float("inf")]
        if not self._records(content, pending):
            found.torn += 1
            found.tell(f"{path} ends inside a record")
        return found

    def _records(self, content, pending):
        found, rate, at, end, next_mark = self.findings, self._rate, FILE_HEADER.size, len(content), 0
        mark = pending[0]
        content += bytes(RECORD.size)  # so that the last records, which may be short, can be unpacked like all others
        unpack = RECORD.unpack_from
        time, tsft, number, load, records = found.ended, self._tsft, self._number, 0, 0
        while at < end:
            start = at
            (seconds, microseconds, kept, length, radiotap, present, own_tsft, frequency, control, transmitter,
             sequence) = unpack(content, at)
            at += RECORD_BYTES + kept
            if at > end:
                break
            own_time = seconds * MICROSECONDS + microseconds
            if own_time < time:
                found.time_back += 1
                found.tell(f"record {found.records + records} is {time - own_time} us before the one before it")
            time = own_time
            found.started = found.started or time
            while time > mark:
                found.marks[mark] = found.records + records
                next_mark += 1
                mark = pending[next_mark]
            records += 1
            if present & 1:
                if own_tsft < tsft:
                    found.tsft_back += 1
                    found.tell(f"record {found.records + records}: TSFT {own_tsft} after {tsft}")
                tsft = own_tsft
            if transmitter != LOAD_TRANSMITTER or control & 0xff != QOS_DATA or radiotap != RADIOTAP_BYTES:
                continue
            load += 1
            own_number = -(-own_tsft * rate // MICROSECONDS)
            if number is None or own_number != number + 1 or frequency != self._frequency:
                self._step(number, own_number, frequency, own_tsft)
            number = own_number
            self._load_tsft = own_tsft
            if kept == SLICED:
                found.sliced += 1
            self._compare(content, start, kept, length, sequence, number)
        found.records += records
        found.load += load
        found.ended, self._tsft, self._number = time, tsft, number
        return at == end

    def _step(self, number, own_number, frequency, tsft):
        """A load frame that is not the next one of the same channel."""
        found = self.findings
        silent = tsft - self._load_tsft
        if number is None:
            self._home = frequency
        elif own_number <= number:
            found.backward += 1
            found.tell(f"frame {own_number} after {number}")
        elif frequency != self._frequency:
            found.hops += 1
            found.longest_hop = max(found.longest_hop, silent)
            self._tuned_again = False
        elif silent > RADIO_PAUSE:
            found.pauses += 1
        elif self._hops and frequency == self._home and not self._tuned_again and silent > TUNING:
            self._tuned_again = True
        else:
            found.holes += 1
            found.missing += own_number - number - 1
            found.tell(f"frames {number + 1} to {own_number - 1} are missing, on {frequency} MHz")
        self._frequency = frequency

    def _compare(self, content, start, kept, length, sequence, number):
        found = self.findings
        if length != WHOLE or kept not in (SLICED, WHOLE) or sequence != (number & 0xfff) << 4:
            found.altered += 1
            found.tell(f"frame {number} has {kept} of {length} bytes and sequence field {sequence:#06x}")
        elif kept == WHOLE:
            frame = content[start + RECORD_BYTES + RADIOTAP_BYTES:start + RECORD_BYTES + kept]
            ccmp = frame[26:28] + frame[30:34]
            if zlib.crc32(frame[:-4]) != int.from_bytes(frame[-4:], "little") or \
                    int.from_bytes(ccmp, "little") != number & 0xffffffffffff:
                found.altered += 1
                found.tell(f"frame {number} is damaged")
