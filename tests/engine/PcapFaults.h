// Failures of libpcap that no device gives on demand. The test program is linked so that the engine's calls come here
// first; a fault that is not set lets the call through to libpcap.
#pragma once

#include <atomic>

namespace vantrel::testing {

struct PcapFaults {
    std::atomic<bool> create = false;
    std::atomic<bool> openDead = false;
    std::atomic<int> canSetRfmon = -1; // -1: libpcap's own answer
    std::atomic<int> setRfmon = 0;
    std::atomic<int> activate = 0; // any other value is answered in libpcap's place
    std::atomic<bool> loop = false;
    std::atomic<unsigned> dropped = 0; // frames more that the kernel says to have dropped

    void clear();
};

[[nodiscard]] PcapFaults& pcapFaults();

} // namespace vantrel::testing
