"""What our radiotap parser and the slicing read in generated and damaged headers, beside what tshark reads there.

    radiotap_against_tshark.py PATH_OF_RADIOTAP_FIELDS [RECORDS [SEED]]
"""
import random
import sys
import unittest

import radiotap_headers as headers
from beside_tshark import (RADIOTAP, Compared, Rule, Tally, arguments, broke_off, frame_differences, has_ht_control,
                           number, read_by_both)
from radiotap_meaning import ANY, COLUMNS, expected

PROGRAM, COUNT, SEED = "", 5000, 1
INVALID = -22
PAST = "radiotap.data_past_header"
FREQUENCIES = ["radiotap.channel.freq", "radiotap.xchannel.freq"]
OWN = ["radiotap.length", "radiotap.present.word", PAST, FREQUENCIES[1]]
BOTH = headers.bits(headers.RADIOTAP_NAMESPACE, headers.VENDOR_NAMESPACE)
TLVS_AND_MORE = headers.bits(headers.TLV, headers.EXTENDED)
TIMESTAMP, ZERO_LENGTH = 22, 26  # fields; of ZERO_LENGTH radiotap says that no frame follows


class Case:
    """One record, what both read, and what follows from it."""

    def __init__(self, kind, data, ours, theirs):
        self.kind, self.data, self.ours, self.theirs = kind, data, ours, theirs
        self.claimed = int.from_bytes(data[2:4], "little")
        self.shown = {column: [number(text) for text in theirs[column]] for column in COLUMNS}
        self.told = expected(ours.fields)
        self.words = self.present_words()
        self.frame = b"" if ours.refused else data[ours.length:]
        self.handed_over = "wlan_radio" in "".join(theirs["frame.protocols"]).split(":")

    def __str__(self):
        columns = {column: (self.told[column], self.shown[column]) for column in COLUMNS
                   if self.told[column] != self.shown[column]}
        rest = {column: value for column, value in self.theirs.items() if column not in COLUMNS}
        return "%s %s, ours %s, theirs %s, fields %s" % (self.kind, self.data.hex(), vars(self.ours), rest, columns)

    def present_words(self):
        """Empty where one lies outside the header, or there is no header of version 0."""
        words, at = [], 4
        if len(self.data) < 8 or self.data[0] != 0 or not 8 <= self.claimed <= len(self.data):
            return words
        while at + 4 <= self.claimed:
            words.append(int.from_bytes(self.data[at:at + 4], "little"))
            at += 4
            if not words[-1] >> headers.EXTENDED:
                return words
        return []

    def walked(self):
        """What a walk comes by: the numbers of standard fields, and VENDOR_NAMESPACE for its description; and the bits of
        vendor namespaces as (number, whether an earlier word of that namespace had some). It ends behind the first
        standard field that nobody has proposed yet."""
        standard, first, had_bits = True, 0, False
        for word in self.words:
            restart = has_bits = False
            for bit in range(headers.EXTENDED):
                if not word >> bit & 1:
                    continue
                if bit == headers.RADIOTAP_NAMESPACE:
                    standard = restart = True
                elif bit == headers.VENDOR_NAMESPACE:
                    standard, restart = False, True
                    yield bit
                else:
                    yield first + bit if standard else (first + bit, had_bits)
                    has_bits = has_bits or not standard
                    if standard and first + bit > headers.TLV:
                        return
            first, had_bits = (0, False) if restart else (first + 32, had_bits or has_bits)

    def alike_up_to(self, is_stop, we_end):
        """Whether both read the same in front of the first such bit; if we_end, nothing behind it is ours."""
        fields = []
        for bit in self.walked():
            if is_stop(bit):
                break
            if isinstance(bit, int):
                fields.append(bit)
        else:
            return False
        mine = self.ours.fields[:len(fields)]
        if [field for field, _ in mine] != fields or we_end and len(self.ours.fields) > len(mine):
            return False
        told = expected(mine)
        return same_fields(told, {column: self.shown[column][:len(told[column])] for column in COLUMNS})


def same_fields(told, shown):
    return all(len(told[column]) == len(shown[column]) and
               all(mine in (other, ANY) for mine, other in zip(told[column], shown[column])) for column in COLUMNS)


def differences(case):
    """The aspects in which the two readings differ."""
    ours, theirs = case.ours, case.theirs
    if ours.refused == case.handed_over:
        yield "header"
    if not ours.refused and theirs["radiotap.length"] != [str(ours.length)]:
        yield "length"
    if (ours.first == 0) != bool(theirs["radiotap.present.word"]):
        yield "header"
    elif [int(word, 0) for word in theirs["radiotap.present.word"]] != (case.words if ours.first == 0 else []):
        yield "words"
    if not same_fields(case.told, case.shown):
        yield "fields"
    if ours.first == 0 and (ours.last == INVALID) != bool(theirs[PAST]):
        yield "end"
    if case.handed_over and not ours.refused:
        flags = (case.shown["radiotap.flags"] or [0])[-1]
        yield from frame_differences(case.data, ours, theirs, flags & headers.FCS, flags & headers.BAD)


def frame_is_missing(case):
    """tshark looks for no frame behind what says that there is none, or where it got lost in a field."""
    return not case.handed_over and (broke_off(case.theirs) or ZERO_LENGTH in case.walked())


def is_short(case):
    return len(case.data) >= 4 and case.claimed < 8


def leads_to_both_namespaces(case):
    return any(word & BOTH == BOTH for word in case.words) and not any(case.shown.values())


def has_xchannel(case):
    found = case.alike_up_to(lambda bit: bit == headers.XCHANNEL, True)
    return found and (case.handed_over or frame_is_missing(case))


def has_newer_field(case):
    found = case.alike_up_to(lambda bit: isinstance(bit, int) and (23 <= bit <= 28 or bit % 32 == headers.TLV), True)
    return found and (case.handed_over or frame_is_missing(case))


def has_vendor_bit(case):
    def is_stop(bit):
        return isinstance(bit, tuple) and (bit[0] == headers.XCHANNEL or bit[0] % 32 == headers.TLV)
    return case.alike_up_to(is_stop, False) and (case.handed_over or frame_is_missing(case))


def has_second_vendor_word(case):
    return bool(case.theirs[PAST]) and case.alike_up_to(lambda bit: isinstance(bit, tuple) and bit[1], False)


def continues_behind_tlvs(case):
    return any(word & TLVS_AND_MORE == TLVS_AND_MORE for word in case.words[2:]) and not any(case.shown.values())


def sees_other_flags(case):
    told, shown = case.told["radiotap.flags"], case.shown["radiotap.flags"]
    return told != shown and any(rule.holds(case) for rule in RULES if "fields" in rule.aspects)


def has_padded_ht_control(case):
    return has_ht_control(case.frame) and case.ours.padding


def has_other_version(case):
    return case.frame and case.frame[0] & 3 != 0


def is_in_60_ghz_band(case):
    told = [number(text) for column in FREQUENCIES for text in case.theirs[column]]
    return has_ht_control(case.frame) and max(told, default=0) > 57000


def ends_with_timestamp(case):
    return case.claimed == len(case.data) and case.ours.fields[-1:] and case.ours.fields[-1][0] == TIMESTAMP \
        and broke_off(case.theirs)


def takes_padding_back(case):
    flags = case.shown["radiotap.flags"]
    return not case.ours.padding and any(one & headers.PADDING for one in flags[:-1])


WALK = {"fields", "end"}
# The reasons; in brackets by whose word, for radiotap the page of the field on radiotap.org.
RULES = [
    Rule("short header", is_short, {"header", "length", "end"},
         "tshark ends where the length is below that of the fixed part; ours finds no field, and the frame where the length "
         "says (introduction: it is the length of all, by which the frame is found)"),
    Rule("both namespaces", leads_to_both_namespaces, {"words"} | WALK,
         "tshark shows no field at all where a word leads to both; ours takes one after the other (Vendor Namespace: both "
         "is undefined)"),
    Rule("XChannel", has_xchannel, {"header"} | WALK,
         "tshark reads field 18; for ours it has no size, and nothing behind it is found (XChannel: suggested, not adopted)"),
    Rule("newer fields", has_newer_field, {"header"} | WALK,
         "tshark goes on behind fields 23 to 28; ours ends there (introduction: a parser may skip the rest at a bit that it "
         "does not know)"),
    Rule("words behind TLVs", continues_behind_tlvs, {"header"} | WALK,
         "tshark refuses the header where a third or later word has TLVs and leads on; ours reads what stands in front "
         "(TLV: no higher bit may be set)"),
    Rule("a vendor's bits", has_vendor_bit, {"header"} | WALK,
         "tshark takes a vendor's bits 18 and 28 for XChannel and TLVs; ours passes over them (Vendor Namespace: the data "
         "is the vendor's)"),
    Rule("a vendor's second word", has_second_vendor_word, WALK,
         "tshark ends where a second word of one vendor has bits; ours passes over all of them at once (Vendor Namespace: "
         "by the skip length)"),
    Rule("flags unseen", sees_other_flags, {"sequence", "body", "kept"},
         "one of the two, by a rule above, does not come to a Flags field, and so knows nothing of what it says of the "
         "frame"),
    Rule("timestamp", ends_with_timestamp, {"header"} | WALK,
         "tshark reads one byte more than the field has, and breaks off where there is none (timestamp: 12 bytes)"),
    Rule("padded HT control", has_padded_ht_control, {"body", "kept"},
         "tshark counts HT control to the header behind which the padding stands; slicing knows none, finds the check "
         "sequence wrong, and keeps the frame whole (IEEE Std 802.11-2020, 9.2.4.6)"),
    Rule("padding taken back", takes_padding_back, {"body", "kept"},
         "tshark stays with the padding of an earlier Flags field; for ours the last field counts (Flags: not told)"),
    Rule("another frame version", has_other_version, {"body", "kept"},
         "tshark expects another header; slicing does not look at the version (IEEE Std 802.11-2020, 9.2.4.1.2)"),
    Rule("60 GHz", is_in_60_ghz_band, {"body"},
         "tshark knows no HT control there, behind which this comparison looks for the body (IEEE Std 802.11-2020, 20)"),
]


class AgainstTshark(Compared, unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        print("%d records, seed %d" % (COUNT, SEED), flush=True)
        records = list(headers.records(random.Random(SEED), COUNT))
        cls.tally = Tally(RULES)
        cls.values = dict.fromkeys(COLUMNS, 0)
        columns = COLUMNS + OWN
        for record in read_by_both(PROGRAM, RADIOTAP, records, columns):
            case = Case(*record)
            cls.tally.add(case, differences(case))
            for column, values in case.shown.items():
                cls.values[column] += len(values)
        cls.tally.print("radiotap")
        print("%d values of %d columns" % (sum(cls.values.values()), len(COLUMNS)))

    def test_every_column_is_shown(self):
        self.assertEqual([column for column, count in self.values.items() if count < 20], [])


if __name__ == "__main__":
    PROGRAM, COUNT, SEED = arguments(1, COUNT, SEED)
    unittest.main(argv=sys.argv[:1])
