// Stands in front of libpcap's pcap_set_buffer_size: BENCH_KERNEL_BUFFER, in bytes, replaces the size asked for, so
// that sizes can be compared without the engine knowing of it.
#include <cstdlib>

struct pcap;

// The names that the linker's --wrap gives.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" int __real_pcap_set_buffer_size(pcap* handle, int bytes);
extern "C" int __wrap_pcap_set_buffer_size(pcap* handle, int bytes);

extern "C" int __wrap_pcap_set_buffer_size(pcap* handle, int bytes) {
    const char* wanted = std::getenv("BENCH_KERNEL_BUFFER");
    return __real_pcap_set_buffer_size(handle, wanted != nullptr ? std::atoi(wanted) : bytes);
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
