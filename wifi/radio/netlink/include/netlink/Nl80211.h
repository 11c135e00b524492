// The kernel's Wi-Fi configuration: which radios and interfaces there are, what they can do, and the few changes that a
// capture needs.
//
// Speaks generic netlink's "nl80211" (linux/nl80211.h) through libnl, waiting for each answer at most two seconds.
// Reading needs no privilege, changing needs CAP_NET_ADMIN. One thread.
#pragma once

#include "base/Error.h"
#include "netlink/NetlinkSocket.h"
#include "wifi/CWChannel.h"

#include <QString>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace vantrel::netlink {

using MacAddress = std::array<std::uint8_t, 6>;

// "02:00:00:00:00:00"
[[nodiscard]] QString toText(const MacAddress& address);

enum class InterfaceKind { Station, Monitor, Other };

struct WirelessInterface {
    int index = 0; // as rtnetlink counts
    QString name;
    std::uint32_t wiphy = 0;
    InterfaceKind kind = InterfaceKind::Other;
    MacAddress address{};
    std::optional<CWChannel> channel; // what the interface is on now, where the kernel says so
    friend bool operator==(const WirelessInterface&, const WirelessInterface&) = default;
};

struct Association {
    MacAddress bssid{};
    QString ssid; // bytes that are not UTF-8 are replaced
    friend bool operator==(const Association&, const Association&) = default;
};

class Nl80211 {
public:
    // Fails where the kernel has no Wi-Fi at all.
    [[nodiscard]] static Expected<std::unique_ptr<Nl80211>> open();
    ~Nl80211();
    Nl80211(const Nl80211&) = delete;
    Nl80211& operator=(const Nl80211&) = delete;

    // Every wireless interface of the machine, by index.
    [[nodiscard]] Expected<std::vector<WirelessInterface>> interfaces();

    // What the radio and the regulatory domain allow, ordered by band, number, width; 20 to 160 MHz at 2.4 and 5 GHz.
    // A channel is usable when every 20 MHz part of it exists and none is disabled, and no flag of the radio forbids
    // the width; that one may only listen on it (NO_IR, RADAR) does not matter to a monitor.
    [[nodiscard]] Expected<std::vector<CWChannel>> supportedChannels(std::uint32_t wiphy);

    // The network that a station interface is a member of now.
    [[nodiscard]] Expected<std::optional<Association>> association(int interfaceIndex);

    // Makes a monitor interface, down, that the kernel removes when this object, or the process, is gone. Its index. A
    // "%d" in the name stands for the first free number; interfaces() tells which.
    [[nodiscard]] Expected<int> addMonitor(std::uint32_t wiphy, const QString& name);
    [[nodiscard]] Expected<void> removeInterface(int interfaceIndex);

    // The radio's P2P devices, as supplicants make them: no network interfaces, each known by a number of its own.
    [[nodiscard]] Expected<std::vector<std::uint64_t>> p2pDevices(std::uint32_t wiphy);
    // While one is started, a monitor hears nothing, although the kernel lets it be tuned. False when it was not
    // started, or is gone.
    [[nodiscard]] Expected<bool> stopP2pDevice(std::uint64_t device);
    // One that is started, or gone, is left so.
    [[nodiscard]] Expected<void> startP2pDevice(std::uint64_t device);

    // Tunes a monitor that is up, while no other interface of its radio is (EBUSY: "Device or resource busy").
    [[nodiscard]] Expected<void> setChannel(int monitorIndex, const CWChannel& channel);

private:
    Nl80211(Socket socket, int family);

    Socket _socket;
    int _family;
};

// Says that something about the machine's radios has changed, not what: the reader asks again.
//
// Joins the multicast groups "mlme", "config" and "regulatory". One thread.
class Nl80211Events {
public:
    [[nodiscard]] static Expected<std::unique_ptr<Nl80211Events>> open();
    ~Nl80211Events();
    Nl80211Events(const Nl80211Events&) = delete;
    Nl80211Events& operator=(const Nl80211Events&) = delete;

    // Becomes readable when something has changed; does not block.
    [[nodiscard]] int descriptor() const;

    // Reads all that has arrived. True when it tells of a change, or when so much arrived that some was lost.
    [[nodiscard]] bool drain();

private:
    explicit Nl80211Events(Socket socket);

    Socket _socket;
};

} // namespace vantrel::netlink
