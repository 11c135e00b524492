#include "Traffic.h"

#include "wifi/ChannelMath.h"

namespace vantrel {

namespace {

constexpr std::uint64_t shortSpace = 16;        // µs between the frames of one exchange
constexpr std::uint64_t acknowledgement = 44;   // µs, the space before it included
constexpr std::uint64_t longestExchange = 6000; // µs that an exchange may take at the end of its interval
constexpr std::uint64_t framesPerInterval = 64; // sequence numbers that an interval may use

constexpr int probePercent = 12;
constexpr int nullDataPercent = 20;
constexpr int damagedPerThousand = 10;
constexpr int stationsPerNetwork = 4;

std::uint64_t mixed(std::uint64_t seed, const MacAddress& bssid, std::uint64_t number) {
    std::uint64_t address = 0;
    for (const auto byte : bssid) {
        address = address << 8 | byte;
    }
    Dice dice(seed ^ address * 0xff51afd7ed558ccdULL);
    return Dice(dice.next() + number).next();
}

std::uint16_t durationField(std::uint64_t microseconds) { return static_cast<std::uint16_t>(microseconds); }

} // namespace

TrafficInterval::TrafficInterval(const Network& network, std::uint64_t seed, std::uint64_t number)
    : _network(network),
      _number(number),
      _start(network.phase + number * beaconInterval),
      _dice(mixed(seed, network.bssid, number)),
      _sequence(static_cast<std::uint16_t>(number * framesPerInterval)),
      _packetNumber(number * framesPerInterval + 1) {}

std::vector<HeardFrame> TrafficInterval::frames() {
    addBeacon();
    if (_dice.percent(probePercent)) {
        addProbeExchange();
    }
    for (int bursts = _dice.below(_network.burstsPerInterval + 1); bursts > 0; --bursts) {
        addBurst();
    }
    if (_network.burstsPerInterval > 0 && _dice.percent(nullDataPercent)) {
        addNullData();
    }
    return std::move(_frames);
}

void TrafficInterval::addBeacon() {
    const std::uint64_t clock = _start + _network.clockSkew * 1000000ULL;
    const auto dtimCount = static_cast<std::uint8_t>(2 - _number % 3);
    add(_start, basicReception(false), beaconFrame(announcement(), nextSequence(), clock, dtimCount));
}

void TrafficInterval::addProbeExchange() {
    const std::uint64_t time = someTime();
    const MacAddress seeker = station(16 + _dice.below(64)); // passing by: not one of the network's own
    const auto sequence = static_cast<std::uint16_t>(_dice.below(4096));
    add(time, basicReception(true), probeRequestFrame(seeker, _network.channel, sequence));
    const std::uint64_t answer = time + 900;
    add(answer, basicReception(false),
        probeResponseFrame(announcement(), seeker, nextSequence(), answer + _network.clockSkew * 1000000ULL));
    add(answer + 400, basicReception(true), ackFrame(_network.bssid));
}

void TrafficInterval::addBurst() {
    std::uint64_t time = someTime();
    const MacAddress member = station(_dice.below(stationsPerNetwork));
    const bool up = _dice.percent(35);
    const MacAddress& sender = up ? member : _network.bssid;
    const MacAddress& receiver = up ? _network.bssid : member;
    const Reception data = dataReception(up);
    const Reception reply = basicReception(!up);
    const int count = 1 + _dice.below(6);
    if (count > 2) {
        add(time, basicReception(up), rtsFrame(receiver, sender, durationField(1200)));
        add(time + 60, reply, ctsFrame(sender, durationField(1140)));
        time += 100;
    }
    for (int sent = 0; sent < count; ++sent) {
        const DataHeader header{_network.bssid,   member,         up,
                                _dice.percent(4), nextSequence(), durationField(acknowledgement)};
        const auto size = static_cast<std::size_t>(40 + _dice.below(1400));
        add(time, data, qosDataFrame(header, _packetNumber++, size));
        time += 60 + size / 4 + shortSpace;
        add(time, reply, ackFrame(sender));
        time += acknowledgement + shortSpace;
    }
}

void TrafficInterval::addNullData() {
    const std::uint64_t time = someTime();
    const MacAddress member = station(_dice.below(stationsPerNetwork));
    const DataHeader header{_network.bssid, member, true, false, static_cast<std::uint16_t>(_dice.below(4096)), 44};
    add(time, basicReception(true), nullDataFrame(header, _dice.percent(50)));
    add(time + 60, basicReception(false), ackFrame(member));
}

void TrafficInterval::add(std::uint64_t time, Reception reception, const Bytes& frame) {
    reception.tsft = time;
    reception.signal = static_cast<std::int8_t>(reception.signal + _dice.below(5) - 2);
    reception.badFcs = _dice.below(1000) < damagedPerThousand;
    _frames.push_back({time, received(reception, frame)});
}

Announcement TrafficInterval::announcement() const {
    return {_network.bssid, _network.ssid, _network.channel, _network.secured};
}

Reception TrafficInterval::basicReception(bool fromStation) {
    Reception reception;
    const bool low = _network.channel.channelBand == bandTwoDotFourGHz;
    reception.frequency = centreFrequency(_network.channel.channelNumber, _network.channel.channelBand).value_or(0);
    reception.rate = low ? 2 : 12; // 1 and 6 Mb/s: what every station of the band receives
    reception.signal = static_cast<std::int8_t>(_network.signal - (fromStation ? 6 : 0));
    reception.noise = low ? -94 : -97;
    reception.antenna = static_cast<std::uint8_t>(_dice.below(2));
    return reception;
}

Reception TrafficInterval::dataReception(bool fromStation) {
    Reception reception = basicReception(fromStation);
    const bool low = _network.channel.channelBand == bandTwoDotFourGHz;
    const bool wide = _network.channel.channelWidth > width20MHz;
    switch (_dice.below(3)) {
    case 0: {
        constexpr std::array rates = {36, 48, 72, 96, 108}; // 18 to 54 Mb/s
        reception.rate = rates[static_cast<std::size_t>(_dice.below(rates.size()))];
        break;
    }
    case 1:
        reception.ht = HtRate{static_cast<std::uint8_t>(_dice.below(16)), wide};
        break;
    default: // the last of the three
        if (low) {
            reception.ht = HtRate{static_cast<std::uint8_t>(8 + _dice.below(8)), wide};
        } else {
            // MCS 9 does not exist for every width and number of streams.
            reception.vht = VhtRate{static_cast<std::uint8_t>(_dice.below(9)),
                                    static_cast<std::uint8_t>(1 + _dice.below(2)), _network.channel.channelWidth};
        }
    }
    return reception;
}

MacAddress TrafficInterval::station(int number) const {
    return {0x02, 0xc1, 0x3e, _network.bssid[3], _network.bssid[5], static_cast<std::uint8_t>(number)};
}

std::uint64_t TrafficInterval::someTime() {
    return _start + 2000 + static_cast<std::uint64_t>(_dice.below(beaconInterval - longestExchange - 2000));
}

} // namespace vantrel
