// Owners for libpcap's handles. A handle belongs to one thread; only pcap_breakloop may be called from another.
#pragma once

#include <memory>

struct pcap;
struct pcap_dumper;
struct pcap_pkthdr;

namespace vantrel {

struct PcapCloser {
    void operator()(pcap* handle) const noexcept;
};
using PcapHandle = std::unique_ptr<pcap, PcapCloser>;

// The longest part of a frame that is captured and written, in bytes.
inline constexpr int snapshotLength = 2048;

} // namespace vantrel
