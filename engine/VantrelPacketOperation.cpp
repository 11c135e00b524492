#include "engine/VantrelPacketOperation.h"

#include "engine/LiveFlag.h"
#include "frames/Slicing.h"

#include <algorithm>
#include <cstring>

namespace vantrel {

std::unique_ptr<VantrelPacketOperation> VantrelPacketOperation::initWithPcapHeader(const pcap_pkthdr& header,
                                                                                   const std::uint8_t* data, int dlt,
                                                                                   LiveFlag* slicing) {
    // Not make_unique, which would clear the 2 KiB of every frame first.
    std::unique_ptr<VantrelPacketOperation> operation(new VantrelPacketOperation);
    operation->setFrame(header, data, dlt, slicing);
    return operation;
}

void VantrelPacketOperation::setFrame(const pcap_pkthdr& header, const std::uint8_t* data, int dlt, LiveFlag* slicing) {
    pcap_hdr = header;
    pcap_hdr.caplen = std::min<bpf_u_int32>(header.caplen, snapshotLength);
    std::memcpy(pcap_data.data(), data, pcap_hdr.caplen);
    pcap_dlt = dlt;
    _slicing = slicing;
    _delegate = nullptr;
}

void VantrelPacketOperation::main() {
    if (_slicing != nullptr && _slicing->value()) {
        pcap_hdr.caplen = slicedLength({pcap_data.data(), pcap_hdr.caplen}, pcap_dlt);
    }
    if (_delegate != nullptr) {
        _delegate->didProcessPacketWithPcapHeader(pcap_hdr, pcap_data.data());
    }
}

} // namespace vantrel
