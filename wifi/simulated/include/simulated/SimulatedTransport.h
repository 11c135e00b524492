// How the simulated adapter's frames reach libpcap on this machine.
#pragma once

#include "base/Error.h"

namespace vantrel {

enum class SimulatedTransport {
    Tap,       // a network device in the network namespace of the session
    Namespace, // the same in a user and network namespace of this process alone, which has no other network
    Stream     // no device: a pcap byte stream
};

// Whether the process may leave the network in which other programs reach it.
enum class OwnNamespace { Permitted, Refused };

// Finds the first of the three that this machine permits and prepares the process for it. The environment variable
// VANTREL_RADIO_TRANSPORT, "tap", "namespace" or "stream", asks for one; what cannot be had is then an error.
//
// To be called once, first thing in main(), before any thread exists: only a process with a single thread may enter a
// user namespace. The namespace is tried in a child process first, so that this one never enters it in vain. Logs
// which of the three is used.
[[nodiscard]] Expected<SimulatedTransport>
prepareSimulatedTransport(OwnNamespace ownNamespace = OwnNamespace::Permitted);

} // namespace vantrel
