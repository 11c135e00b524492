#include "feed/Beacon.h"

#include "Cursor.h"
#include "frames/Radiotap.h"

#include <algorithm>
#include <cstdio>
#include <zlib.h>

namespace vantrel::feed {

namespace {

constexpr int fieldChannel = 3; // of the radiotap header: frequency and flags, 16 bits each
constexpr std::size_t checkSequenceSize = 4;
constexpr std::size_t addressThree = 16;
constexpr std::size_t headerSize = 24;
constexpr std::size_t htControlSize = 4;
constexpr std::size_t fixedFieldsBeforeCapability = 10; // timestamp, beacon interval
// The first byte of the frame control field: version 0, management, and the subtype.
constexpr std::uint8_t probeResponse = 0x50;
constexpr std::uint8_t beaconFrame = 0x80;
constexpr std::uint8_t orderFlag = 0x80; // of the second byte: an HT control field follows the header
constexpr std::uint16_t capabilityPrivacy = 0x0010;

// How the frame was heard, as far as the header says; false when the header cannot be walked to its end.
bool readReception(Beacon& beacon, std::span<const std::uint8_t> record) {
    RadiotapIterator iterator;
    int result = iterator.init(record);
    while (result == 0 && (result = iterator.next()) == 0) {
        const auto field = iterator.thisArg();
        switch (iterator.thisArgIndex()) {
        case radiotap::antennaSignal:
            beacon.signal = static_cast<std::int8_t>(field[0]);
            break;
        case radiotap::antennaNoise:
            beacon.noise = static_cast<std::int8_t>(field[0]);
            break;
        case fieldChannel:
            beacon.frequency = Cursor(field).takeLe16();
            break;
        default: // the many others
            break;
        }
    }
    return result == RadiotapIterator::noMoreEntries;
}

// The frame between radiotap header and check sequence; nothing when there is none, or the sequence is wrong.
std::optional<std::span<const std::uint8_t>> readChecked(std::span<const std::uint8_t> record) {
    const std::size_t length = record[2] + 256U * record[3]; // the walk has seen that it lies within the record
    if (record.size() - length <= checkSequenceSize) {
        return std::nullopt;
    }
    const auto frame = record.subspan(length, record.size() - length - checkSequenceSize);
    const auto stored = record.last(checkSequenceSize);
    const auto computed = crc32(0, frame.data(), static_cast<uInt>(frame.size()));
    for (std::size_t at = 0; at < checkSequenceSize; ++at) {
        if (stored[at] != (computed >> (8 * at) & 0xFF)) {
            return std::nullopt;
        }
    }
    return frame;
}

} // namespace

std::optional<Beacon> readBeacon(std::span<const std::uint8_t> record) {
    Beacon beacon;
    if (!readReception(beacon, record)) {
        return std::nullopt;
    }
    const auto frame = readChecked(record);
    if (!frame) {
        return std::nullopt;
    }
    Cursor cursor(*frame);
    const auto header = cursor.take(headerSize);
    if (!header) {
        return std::nullopt;
    }
    const int kind = (*header)[0];
    if (kind != beaconFrame && kind != probeResponse) {
        return std::nullopt;
    }
    if (((*header)[1] & orderFlag) != 0 && !cursor.take(htControlSize)) {
        return std::nullopt;
    }
    if (!cursor.take(fixedFieldsBeforeCapability)) {
        return std::nullopt;
    }
    const auto capability = cursor.takeLe16();
    if (!capability) {
        return std::nullopt;
    }
    beacon.probeResponse = kind == probeResponse;
    std::copy_n(header->begin() + addressThree, beacon.bssid.size(), beacon.bssid.begin());
    beacon.security.privacy = (*capability & capabilityPrivacy) != 0;
    addElements(beacon, cursor.rest());
    if (!beacon.channel && beacon.frequency) {
        beacon.channel = channelAt(*beacon.frequency);
    }
    return beacon;
}

std::optional<int> channelAt(int frequency) {
    constexpr int step = 5; // MHz from one number to the next
    if (frequency == 2484) {
        return 14;
    }
    if (frequency == 5935) { // stands below the others of 6 GHz
        return 2;
    }
    struct Band {
        int first, last, base; // MHz
    };
    for (const Band band : {Band{2412, 2472, 2407}, Band{5160, 5885, 5000}, Band{5955, 7115, 5950}}) {
        if (frequency >= band.first && frequency <= band.last && (frequency - band.base) % step == 0) {
            return (frequency - band.base) / step;
        }
    }
    return std::nullopt;
}

std::string bssidText(const Bssid& bssid) {
    std::array<char, 18> text{};
    std::snprintf(text.data(), text.size(), "%02x:%02x:%02x:%02x:%02x:%02x", bssid[0], bssid[1], bssid[2], bssid[3],
                  bssid[4], bssid[5]);
    return text.data();
}

std::string_view widthText(ChannelWidth width) {
    switch (width) {
    case ChannelWidth::MHz20:
        return "20";
    case ChannelWidth::MHz40:
        return "40";
    case ChannelWidth::MHz80:
        return "80";
    case ChannelWidth::MHz80Plus80:
        return "80+80";
    case ChannelWidth::MHz160:
        return "160";
    case ChannelWidth::MHz320:
        return "320";
    }
    return {};
}

} // namespace vantrel::feed
