// One network's traffic in one of its beacon intervals.
#pragma once

#include "simulated/Air.h"

namespace vantrel {

// A small generator whose whole state is one number (SplitMix64), so that any interval can be made without the ones
// before it.
class Dice {
public:
    explicit Dice(std::uint64_t seed) : _state(seed) {}

    std::uint64_t next() {
        _state += 0x9e3779b97f4a7c15ULL;
        std::uint64_t mixed = _state;
        mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9ULL;
        mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebULL;
        return mixed ^ (mixed >> 31);
    }
    // 0 to limit - 1; the bias of the remainder is of no matter for limits this small.
    int below(int limit) { return static_cast<int>(next() % static_cast<std::uint64_t>(limit)); }
    bool percent(int chance) { return below(100) < chance; }

private:
    std::uint64_t _state;
};

class TrafficInterval {
public:
    // The interval with that number counted from the network's first beacon; every frame of it lies within it.
    TrafficInterval(const Network& network, std::uint64_t seed, std::uint64_t number);

    // In no particular order.
    [[nodiscard]] std::vector<HeardFrame> frames();

private:
    void addBeacon();
    void addProbeExchange();
    void addBurst();
    void addNullData();
    void add(std::uint64_t time, Reception reception, const Bytes& frame);

    [[nodiscard]] Announcement announcement() const;
    [[nodiscard]] Reception basicReception(bool fromStation);
    [[nodiscard]] Reception dataReception(bool fromStation);
    [[nodiscard]] MacAddress station(int number) const;
    [[nodiscard]] std::uint64_t someTime();
    [[nodiscard]] std::uint16_t nextSequence() { return _sequence++; }

    const Network& _network; // borrowed
    std::uint64_t _number;
    std::uint64_t _start; // µs
    Dice _dice;
    std::uint16_t _sequence;
    std::uint64_t _packetNumber;
    std::vector<HeardFrame> _frames;
};

} // namespace vantrel
