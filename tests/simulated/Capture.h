// Listens to a simulated monitor with libpcap, by device or by stream, and reads the few fields the tests look at.
#pragma once

#include "simulated/FrameBuilder.h"
#include "wifi/CWInterface.h"

#include <chrono>
#include <memory>
#include <optional>
#include <pcap/pcap.h>
#include <string>

namespace vantrel::testing {

// The fields of a frame made by FrameBuilder, whose radio headers hold TSFT, flags and channel at fixed places.
struct Fields {
    explicit Fields(std::span<const std::uint8_t> packet);

    std::uint64_t tsft = 0;
    bool badFcs = false;   // the radio header's flag
    bool fcsRight = false; // the check sequence itself
    int frequency = 0;
    int subtype = 0; // frame control without the two version bits: 0x80 for a beacon
    MacAddress first{};
    MacAddress third{}; // a management frame's BSSID; zero in frames too short to have one
};

struct PcapCloser {
    void operator()(pcap_t* handle) const { ::pcap_close(handle); }
};
using PcapHandle = std::unique_ptr<pcap_t, PcapCloser>;

class Capture {
public:
    // From a device, live and without delay; throws what libpcap says.
    explicit Capture(const QString& device);
    // From the stream of a monitor, or from its device if it has one.
    explicit Capture(MonitorMode& monitor);

    [[nodiscard]] pcap_t* handle() const { return _handle.get(); }
    // The next frame, or nothing when none came in time.
    [[nodiscard]] std::optional<Bytes> next(std::chrono::milliseconds patience = std::chrono::seconds(5));
    // All frames of the next while.
    [[nodiscard]] std::vector<Bytes> during(std::chrono::milliseconds time);
    [[nodiscard]] pcap_pkthdr lastHeader() const { return _header; }

private:
    PcapHandle _handle;
    int _descriptor = -1; // borrowed from the handle
    bool _stream = false;
    pcap_pkthdr _header{};
};

// Why a TAP device cannot be made here; empty when it can.
[[nodiscard]] std::string tapRefusal();

} // namespace vantrel::testing
