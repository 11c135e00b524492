// What is logged when libpcap refuses something of a capture device, each text in this one place.
#pragma once

namespace vantrel::texts {

inline constexpr char pcapCreateFailed[] = "pcap_create() failed: %s";
inline constexpr char pcapSetRfmonFailed[] = "pcap_set_rfmon() failed: %s";
inline constexpr char pcapActivateFailed[] = "pcap_activate() failed: %s";
inline constexpr char pcapCompileFailed[] = "pcap_compile() failed: %s";
inline constexpr char pcapSetfilterFailed[] = "pcap_setfilter() failed: %s";
inline constexpr char pcapSetDatalinkFailed[] = "pcap_set_datalink() failed: %s";
inline constexpr char pcapLoopFailed[] = "pcap_loop() failed: %s";
inline constexpr char pcapCallFailed[] = "%s() failed: %s"; // of the calls that a capture goes on without

} // namespace vantrel::texts
