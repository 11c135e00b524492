#include "simulated/Air.h"

#include "Traffic.h"
#include "wifi/ChannelMath.h"

#include <algorithm>
#include <iterator>

namespace vantrel {

namespace {

constexpr std::uint64_t second = 1000000; // µs
constexpr std::size_t loadBodySize = 200;
constexpr MacAddress loadAccessPoint = {0x02, 0x5a, 0x17, 0xff, 0x00, 0x01};
constexpr MacAddress loadStation = {0x02, 0xc1, 0x3e, 0xff, 0x01, 0x01};

void appendTraffic(std::vector<HeardFrame>& frames, const Network& network, std::uint64_t seed, std::uint64_t from,
                   std::uint64_t until) {
    if (until <= network.phase) {
        return;
    }
    // Intervals overlap the window when they begin before its end and end after its start.
    const std::uint64_t last = (until - 1 - network.phase) / beaconInterval;
    std::uint64_t number = from <= network.phase ? 0 : (from - network.phase) / beaconInterval;
    for (; number <= last; ++number) {
        auto all = TrafficInterval(network, seed, number).frames();
        std::copy_if(std::make_move_iterator(all.begin()), std::make_move_iterator(all.end()),
                     std::back_inserter(frames),
                     [from, until](const HeardFrame& frame) { return frame.time >= from && frame.time < until; });
    }
}

} // namespace

Air::Air(std::span<const Network> networks, std::uint64_t seed, unsigned loadFramesPerSecond)
    : _networks(networks),
      _seed(seed),
      _load(loadFramesPerSecond) {}

std::vector<HeardFrame> Air::heard(const CWChannel& tuned, std::uint64_t from, std::uint64_t until) const {
    std::vector<HeardFrame> frames;
    for (const auto& network : _networks) {
        if (covers(tuned, network.channel.channelNumber, network.channel.channelBand)) {
            appendTraffic(frames, network, _seed, from, until);
        }
    }
    if (_load > 0) {
        appendLoad(frames, tuned, from, until);
    }
    std::stable_sort(frames.begin(), frames.end(),
                     [](const HeardFrame& left, const HeardFrame& right) { return left.time < right.time; });
    return frames;
}

void Air::appendLoad(std::vector<HeardFrame>& frames, const CWChannel& tuned, std::uint64_t from,
                     std::uint64_t until) const {
    const auto frequency = centreFrequency(tuned.channelNumber, tuned.channelBand);
    if (!frequency) {
        return;
    }
    Reception reception;
    reception.frequency = *frequency;
    reception.rate = 108; // 54 Mb/s
    reception.signal = -48;
    // The frame with number n is due n / load seconds after the start, rounded down to a microsecond.
    for (std::uint64_t number = (from * _load + second - 1) / second;; ++number) {
        const std::uint64_t time = number * second / _load;
        if (time >= until) {
            return;
        }
        const DataHeader header{loadAccessPoint, loadStation, false, false, static_cast<std::uint16_t>(number), 44};
        reception.tsft = time;
        frames.push_back({time, received(reception, qosDataFrame(header, number, loadBodySize))});
    }
}

} // namespace vantrel
