// What is done with one captured frame on the packet queue: cut it to its header if that is wished, and hand it on.
//
// Ownership: made on the capture thread, owned by the packet queue, which uses it again for later frames. It holds
// copies of all it needs, so libpcap's buffers are free as soon as it is made.
#pragma once

#include "engine/PacketQueue.h"
#include "engine/PcapHandles.h"

#include <array>
#include <cstdint>
#include <memory>
#include <pcap/pcap.h>

namespace vantrel {

class LiveFlag;

// Called on the packet queue's thread; header and data are valid during the call only.
class VantrelPacketOperationDelegate {
public:
    virtual ~VantrelPacketOperationDelegate() = default;
    virtual void didProcessPacketWithPcapHeader(const pcap_pkthdr& header, const std::uint8_t* data) = 0;
};

class VantrelPacketOperation final : public Operation {
public:
    // Copies the record header whole and the captured bytes, at most snapshotLength of them. `slicing` tells, when
    // the operation runs, whether data frames are cut to their header; it is borrowed, and none means never.
    [[nodiscard]] static std::unique_ptr<VantrelPacketOperation>
    initWithPcapHeader(const pcap_pkthdr& header, const std::uint8_t* data, int dlt, LiveFlag* slicing = nullptr);

    // The same on an operation that has run already.
    void setFrame(const pcap_pkthdr& header, const std::uint8_t* data, int dlt, LiveFlag* slicing);

    [[nodiscard]] VantrelPacketOperationDelegate* delegate() const noexcept { return _delegate; }
    // Borrowed; must outlive the operation's run.
    void setDelegate(VantrelPacketOperationDelegate* delegate) noexcept { _delegate = delegate; }

    void main() override;
    [[nodiscard]] bool isReusable() const noexcept override { return true; }

private:
    pcap_pkthdr pcap_hdr{};
    int pcap_dlt = 0;
    VantrelPacketOperationDelegate* _delegate = nullptr;
    LiveFlag* _slicing = nullptr;
    // Left uninitialised on purpose: only what a frame fills is ever read.
    std::array<std::uint8_t, snapshotLength> pcap_data;
};

} // namespace vantrel
