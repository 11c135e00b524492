// Prints what those who read radiotap headers of beacons make of every record of a capture file, one line each:
//
//   VALID RSSI NOISE BSSID SIGNAL NOISE FREQUENCY
//
// the feed's server first (its packet; - for no BSSID), then the feed's client (- for what it does not know, all of it
// - where it reads no beacon).
#include "PcapFile.h"
#include "feed/Beacon.h"
#include "remote/VantrelPacket.h"

#include <iostream>

namespace vantrel {
namespace {

template <typename T>
std::string text(const std::optional<T>& value) {
    return value ? std::to_string(*value) : std::string("-");
}

void print(std::span<const std::uint8_t> captured) {
    const VantrelPacket packet = VantrelPacket::initWithData(captured);
    std::cout << packet.isValid() << ' ' << packet.rssi() << ' ' << packet.noise() << ' '
              << (packet.bssid().empty() ? "-" : packet.bssid());
    const auto beacon = feed::readBeacon(captured).value_or(feed::Beacon());
    std::cout << ' ' << text(beacon.signal) << ' ' << text(beacon.noise) << ' ' << text(beacon.frequency) << '\n';
}

} // namespace
} // namespace vantrel

int main(int argc, char** argv) {
    const auto file = vantrel::readPcapFile(argc == 2 ? argv[1] : "");
    if (!file) {
        std::cerr << "usage: radiotap_readers PCAP_FILE\n";
        return 1;
    }
    for (const auto& record : file->records) {
        vantrel::print(vantrel::ExactCopy(record).span());
    }
    return std::cout.flush() ? 0 : 1;
}
