#include "SweepPlan.h"

#include <algorithm>

namespace vantrel {

std::vector<SweepStop> sweepStops(std::span<const CWChannel> supported) {
    std::vector<SweepStop> stops;
    for (const CWChannel& channel : supported) {
        if (channel.channelWidth == width20MHz) {
            stops.push_back({.channel = channel});
        }
    }
    std::ranges::stable_sort(stops, {}, [](const SweepStop& stop) { return stop.channel.channelNumber; });
    return stops;
}

} // namespace vantrel
