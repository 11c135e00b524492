#include "PcapFaults.h"

#include <cstring>
#include <pcap/pcap.h>

namespace vantrel::testing {

void PcapFaults::clear() {
    create = false;
    openDead = false;
    canSetRfmon = -1;
    setRfmon = 0;
    activate = 0;
    loop = false;
    dropped = 0;
}

PcapFaults& pcapFaults() {
    static PcapFaults faults;
    return faults;
}

} // namespace vantrel::testing

using vantrel::testing::pcapFaults;

// The linker's names for the wrapped functions and the originals (--wrap).
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

pcap_t* __real_pcap_create(const char* source, char* errbuf);
pcap_t* __real_pcap_open_dead(int linktype, int snaplen);
int __real_pcap_can_set_rfmon(pcap_t* handle);
int __real_pcap_set_rfmon(pcap_t* handle, int rfmon);
int __real_pcap_activate(pcap_t* handle);
int __real_pcap_loop(pcap_t* handle, int count, pcap_handler callback, u_char* user);
int __real_pcap_stats(pcap_t* handle, pcap_stat* statistics);

pcap_t* __wrap_pcap_create(const char* source, char* errbuf) {
    if (pcapFaults().create) {
        std::strcpy(errbuf, "no handle today");
        return nullptr;
    }
    return __real_pcap_create(source, errbuf);
}

pcap_t* __wrap_pcap_open_dead(int linktype, int snaplen) {
    return pcapFaults().openDead ? nullptr : __real_pcap_open_dead(linktype, snaplen);
}

int __wrap_pcap_can_set_rfmon(pcap_t* handle) {
    const int answer = pcapFaults().canSetRfmon;
    return answer >= 0 ? answer : __real_pcap_can_set_rfmon(handle);
}

int __wrap_pcap_set_rfmon(pcap_t* handle, int rfmon) {
    const int status = pcapFaults().setRfmon;
    return status != 0 ? status : __real_pcap_set_rfmon(handle, rfmon);
}

int __wrap_pcap_activate(pcap_t* handle) {
    const int status = pcapFaults().activate;
    return status != 0 ? status : __real_pcap_activate(handle);
}

int __wrap_pcap_loop(pcap_t* handle, int count, pcap_handler callback, u_char* user) {
    return pcapFaults().loop ? PCAP_ERROR : __real_pcap_loop(handle, count, callback, user);
}

int __wrap_pcap_stats(pcap_t* handle, pcap_stat* statistics) {
    const int status = __real_pcap_stats(handle, statistics);
    statistics->ps_drop += pcapFaults().dropped;
    statistics->ps_recv += pcapFaults().dropped; // libpcap counts the dropped ones among the received
    return status;
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
