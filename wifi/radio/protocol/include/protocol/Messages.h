// What the application and vantrel-radio say to each other over their socket pair (SOCK_SEQPACKET: one message, one
// packet).
//
// A packet is: version (1 byte), type (1), request number (4, little endian), then the fields of the type in the order
// in which they stand below. Integers are little endian; a text is its length in bytes (2) and that much UTF-8; a list
// is its number of entries (2) and the entries; a truth is one byte, 0 or 1. Nothing may follow the last field. Both
// ends are programs of one build; the version is there so that a left-over process of another build is told apart from
// a damaged packet.
//
// Pure functions, for any thread.
#pragma once

#include "base/Error.h"
#include "wifi/CWInterface.h"

#include <QString>
#include <cstdint>
#include <optional>
#include <span>
#include <variant>
#include <vector>

namespace vantrel::protocol {

inline constexpr std::uint8_t version = 1;
inline constexpr std::size_t longestPacket = 16384; // bytes; a longer one is refused at both ends

// Requests, from the application. Each is answered by one Done of the same number.
struct SetChannel {
    CWChannel channel;
    friend bool operator==(const SetChannel&, const SetChannel&) = default;
};
struct SetPower {
    bool on = false;
    friend bool operator==(const SetPower&, const SetPower&) = default;
};
struct Disassociate {
    friend bool operator==(const Disassociate&, const Disassociate&) = default;
};
struct BeginMonitor {
    bool probe = false; // only looks at what the device offers: the station is left alone
    friend bool operator==(const BeginMonitor&, const BeginMonitor&) = default;
};
struct EndMonitor {
    friend bool operator==(const EndMonitor&, const EndMonitor&) = default;
};

// The answer to a request: either `what` and `why` are empty, or the request failed.
struct Done {
    QString what;   // the call that failed, such as "NL80211_CMD_SET_CHANNEL"
    QString why;    // its error text, readable by the user
    QString result; // of BeginMonitor: the name of the network device
    friend bool operator==(const Done&, const Done&) = default;
};

// Announcements, from vantrel-radio, request number 0. Both are sent once at the start, then at every change; what a
// request changed is announced before its Done.
struct State {
    QString interfaceName; // empty when there is no adapter
    CWInterfaceMode mode = CWInterfaceMode::None;
    QString ssid;                     // empty when not associated
    QString bssid;                    // "02:00:00:00:00:00"; empty when not associated
    std::optional<CWChannel> channel; // a truth whether there is one; then number (2), band (1) and width (1)
    bool powerOn = false;
    friend bool operator==(const State&, const State&) = default;
};
struct Channels {
    std::vector<CWChannel> supported; // in the order of CWInterface::supportedWLANChannels(); each as in State
    friend bool operator==(const Channels&, const Channels&) = default;
};

// A message's type byte is its place in this list.
using Message = std::variant<SetChannel, SetPower, Disassociate, BeginMonitor, EndMonitor, Done, State, Channels>;

struct Packet {
    std::uint32_t request = 0;
    Message message;
    friend bool operator==(const Packet&, const Packet&) = default;
};

// Whether the fields of a message can hold this channel: band and width are codes of CWChannel, the number fits 16
// bits.
[[nodiscard]] bool isInRange(const CWChannel& channel);

// Never fails: texts are cut at 4096 bytes, at a character's boundary, and the list of channels where the packet is
// full. A channel out of range is carried as the nearest that its fields hold.
[[nodiscard]] std::vector<std::uint8_t> encode(const Packet& packet);

// Fails with what is wrong with the bytes: another version, an unknown type, a field or text that runs over the end,
// bytes left over, a value out of its range, text that is not UTF-8.
[[nodiscard]] Expected<Packet> decode(std::span<const std::uint8_t> bytes);

} // namespace vantrel::protocol
