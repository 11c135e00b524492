// Any bytes as a captured frame of the feed: a valid packet is a beacon or probe response, its BSSID is the one that
// stands in the frame, its record is its length and its bytes, and every other packet has no BSSID.
#include "FuzzInput.h"
#include "remote/Streams.h"
#include "remote/VantrelPacket.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>
#include <zlib.h>

namespace {

using namespace vantrel;

class Collector final : public OutputStream {
public:
    void setDelegate(StreamDelegate* /*delegate*/) override {}
    void scheduleIn(MainQueue& /*queue*/) override {}
    void open() override {}
    void close() override {}
    bool hasSpaceAvailable() override { return true; }
    bool flush() override { return true; }
    ssize_t write(std::span<const std::uint8_t> bytes) override {
        written.insert(written.end(), bytes.begin(), bytes.end());
        return static_cast<ssize_t>(bytes.size());
    }
    std::vector<std::uint8_t> written;
};

void checkRecord(const VantrelPacket& packet, std::span<const std::uint8_t> bytes) {
    Collector stream;
    require(packet.writeToStream(stream));
    const auto& record = stream.written;
    require(record.size() == bytes.size() + 4);
    require((record[0] * 256U + record[1]) * 65536U + record[2] * 256U + record[3] == bytes.size());
    require(std::equal(bytes.begin(), bytes.end(), record.begin() + 4));
}

void checkValid(const VantrelPacket& packet, std::span<const std::uint8_t> bytes) {
    const std::size_t start = bytes[2] + 256U * bytes[3];
    require(start + 26 <= bytes.size());
    require(bytes[start] == 0x80 || bytes[start] == 0x50);
    char address[18];
    const auto* bssid = &bytes[start + 16];
    std::snprintf(address, sizeof address, "%02x:%02x:%02x:%02x:%02x:%02x", bssid[0], bssid[1], bssid[2], bssid[3],
                  bssid[4], bssid[5]);
    require(packet.bssid() == address);
}

void check(std::span<const std::uint8_t> bytes) {
    const auto packet = VantrelPacket::initWithData(bytes);
    require(packet.rssi() >= -128 && packet.rssi() <= 127 && packet.noise() >= -128 && packet.noise() <= 127);
    require(packet.isValid() != packet.bssid().empty());
    if (packet.isValid()) {
        checkValid(packet, bytes);
    }
    checkRecord(packet, bytes);
}

// The same with the right check sequence, which no mutation finds by itself.
std::vector<std::uint8_t> withCheck(std::span<const std::uint8_t> bytes) {
    std::vector<std::uint8_t> repaired(bytes.begin(), bytes.end());
    const std::size_t start = bytes.size() >= 4 ? bytes[2] + 256U * bytes[3] : bytes.size();
    if (start + 4 <= bytes.size()) {
        const std::size_t end = bytes.size() - 4;
        const auto sequence = crc32(0, repaired.data() + start, static_cast<uInt>(end - start));
        for (std::size_t index = 0; index < 4; ++index) {
            repaired[end + index] = static_cast<std::uint8_t>(sequence >> (8 * index));
        }
    }
    return repaired;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzInput input(data, size);
    check(input.bytes());
    const auto repaired = withCheck(input.bytes());
    const FuzzInput second(repaired.data(), repaired.size());
    check(second.bytes());
    return 0;
}
