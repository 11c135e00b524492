// What can be heard on a channel at a time: the traffic of the neighbourhood as a pure function of seed and time.
//
// Every network sends a beacon each 102.4 ms from its own phase on, and within each of those intervals some probe
// exchanges, bursts of QoS data with their RTS, CTS and acknowledgements, and null data, at varied rates and signals.
// About one frame in a hundred arrives damaged: its check sequence is wrong and its radio header says so.
// Two listeners on one channel hear the same frames. Times are µs since the start of the simulation and are the
// frames' TSFT. Immutable: any thread.
#pragma once

#include "simulated/FrameBuilder.h"
#include "simulated/Neighbourhood.h"

namespace vantrel {

inline constexpr std::uint64_t beaconInterval = 102400; // µs: 100 time units

struct HeardFrame {
    std::uint64_t time = 0; // µs
    Bytes packet;           // as delivered, radiotap header first
};

class Air {
public:
    // The networks are borrowed. A load adds that many QoS data frames a second to whatever channel is listened to.
    Air(std::span<const Network> networks, std::uint64_t seed, unsigned loadFramesPerSecond = 0);

    // The frames whose time lies in [from, until), in order: those of the networks whose 20 MHz primary channel the
    // tuned channel covers.
    [[nodiscard]] std::vector<HeardFrame> heard(const CWChannel& tuned, std::uint64_t from, std::uint64_t until) const;

private:
    void appendLoad(std::vector<HeardFrame>& frames, const CWChannel& tuned, std::uint64_t from,
                    std::uint64_t until) const;

    std::span<const Network> _networks; // borrowed
    std::uint64_t _seed;
    unsigned _load; // frames per second
};

} // namespace vantrel
