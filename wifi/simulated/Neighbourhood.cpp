#include "simulated/Neighbourhood.h"

namespace vantrel {

namespace {

// The fourth byte tells the networks of one building apart, the last the access points of one network.
constexpr MacAddress address(std::uint8_t network, std::uint8_t accessPoint) {
    return {0x02, 0x5a, 0x17, network, 0x00, accessPoint};
}
constexpr CWChannel low(int number, int width = width20MHz) { return {number, bandTwoDotFourGHz, width}; }
constexpr CWChannel high(int number, int width) { return {number, bandFiveGHz, width}; }

constexpr std::array networks = {
    Network{address(1, 1), "Vantrel Lab", high(36, width80MHz), true, -41, 3, 11700, 86400},
    Network{address(1, 2), "Vantrel Lab", low(6), true, -45, 2, 52100, 86400},
    Network{address(1, 3), "Vantrel Guest", high(36, width80MHz), false, -42, 1, 63900, 86400},
    Network{address(2, 1), "Blue Door", low(1), true, -58, 2, 3300, 7200},
    Network{address(2, 2), "Blue Door", high(149, width80MHz), true, -63, 2, 29800, 7200},
    Network{address(3, 1), "Harbour View", low(1, width40MHz), true, -71, 1, 40500, 51000},
    Network{address(4, 1), "", low(1), true, -77, 0, 77200, 12},
    Network{address(5, 1), "Printer-4F", low(3), false, -66, 0, 18600, 300},
    Network{address(6, 1), "Third Floor", low(6), true, -60, 2, 86300, 40000},
    Network{address(6, 2), "Third Floor", high(44, width40MHz), true, -57, 2, 35100, 40000},
    Network{address(7, 1), "Corner Caf\xc3\xa9", low(6), false, -74, 1, 9400, 5500},
    Network{address(8, 1), "Workshop", low(11), true, -55, 2, 23700, 61000},
    Network{address(8, 2), "Workshop", high(52, width80MHz), true, -64, 1, 71800, 61000},
    Network{address(9, 1), "North Stair", low(11), true, -69, 1, 58200, 900},
    Network{address(10, 1), "Cellar", low(11), true, -82, 0, 94600, 64000},
    Network{address(11, 1), "Annex 5G", high(40, width80MHz), true, -68, 1, 46900, 33000},
    Network{address(12, 1), "Meeting Room", high(48, width20MHz), true, -62, 1, 14900, 2100},
    Network{address(13, 1), "Long Hall", high(100, width80MHz), true, -70, 2, 81500, 18000},
    Network{address(14, 1), "Reading Room", high(157, width40MHz), true, -59, 1, 66100, 27000},
    Network{address(15, 1), "Roof Link", high(161, width20MHz), false, -73, 1, 5800, 45000},
    Network{address(16, 1), "Studio", high(149, width40MHz), true, -76, 1, 98200, 750},
};

} // namespace

std::span<const Network> neighbourhood() { return networks; }

const Network& homeNetwork() { return networks.front(); }

} // namespace vantrel
