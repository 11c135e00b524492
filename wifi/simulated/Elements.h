// The information elements of the management frames (IEEE Std 802.11-2020, 9.4.2).
#pragma once

#include "ByteWriter.h"
#include "simulated/FrameBuilder.h"

namespace vantrel {

// Everything that follows the fixed fields of a beacon or probe response; only beacons carry a traffic map.
void appendNetworkElements(ByteWriter& out, const Announcement& network, std::optional<std::uint8_t> dtimCount);

// What a station that looks for any network sends.
void appendProbeElements(ByteWriter& out, const CWChannel& channel);

} // namespace vantrel
