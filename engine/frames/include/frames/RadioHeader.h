// What the receiver says of an 802.11 frame in the radio header in front of it, whichever format that header has.
#pragma once

#include <cstddef>

namespace vantrel {

// Data-link types as libpcap numbers them (tcpdump.org, link-layer header types) whose radio header is understood here.
inline constexpr int dataLinkTypeRadiotap = 127;
inline constexpr int dataLinkTypePpi = 192;

struct RadioHeader {
    std::size_t length = 0;   // in bytes; the 802.11 frame begins here
    bool fcsAtEnd = false;    // the frame check sequence is the last four bytes of the frame
    bool dataPadding = false; // the 802.11 header is padded to a multiple of four bytes
    bool badFcs = false;      // the receiver found the frame check sequence wrong

    friend bool operator==(const RadioHeader&, const RadioHeader&) = default;
};

} // namespace vantrel
