// One Wi-Fi adapter: its state, its channels, and the few operations that change it.
//
// Every operation may be called on any thread; backends guard their own state. Operations that change the adapter
// answer with an error whose text the user can read.
#pragma once

#include "base/Error.h"
#include "base/FileDescriptor.h"
#include "wifi/CWChannel.h"

#include <QString>
#include <memory>
#include <optional>
#include <vector>

namespace vantrel {

enum class CWInterfaceMode { None = 0, Station = 1, Monitor = 4 };

// What monitor mode is wanted for. A probe only looks at what the device offers, so the adapter is not taken away from
// whoever uses it.
enum class MonitorUse { Capture, Probe };

// Monitor mode for as long as this object lives. Destroying it, on any thread, gives the adapter back.
class MonitorMode {
public:
    virtual ~MonitorMode() = default;

    // The network device that libpcap opens live; empty when the frames come as a stream.
    [[nodiscard]] virtual QString deviceName() const = 0;

    // A connected local stream socket that carries a pcap byte stream, file header first, for machines that cannot
    // give a network device. Not open when deviceName() is to be used; may be taken once.
    [[nodiscard]] virtual FileDescriptor takeStream() = 0;
};

class CWInterface {
public:
    virtual ~CWInterface() = default;

    [[nodiscard]] virtual QString interfaceName() const = 0; // empty when there is no adapter
    [[nodiscard]] virtual CWInterfaceMode interfaceMode() const = 0;
    [[nodiscard]] virtual QString ssid() const = 0; // empty when not associated
    [[nodiscard]] virtual std::optional<CWChannel> wlanChannel() const = 0;
    // Ordered by band, then number, then width, all ascending.
    [[nodiscard]] virtual std::vector<CWChannel> supportedWLANChannels() const = 0;
    [[nodiscard]] virtual bool powerOn() const = 0;

    [[nodiscard]] virtual Expected<void> setWLANChannel(const CWChannel& channel) = 0;
    [[nodiscard]] virtual Expected<void> setPower(bool on) = 0;
    // Leaves the network; does nothing when not associated. Errors are of no use to the callers and are logged.
    virtual void disassociate() = 0;

    // Makes the adapter deliver whole 802.11 frames: on its network's channel when it is associated, else on
    // wlanChannel().
    [[nodiscard]] virtual Expected<std::unique_ptr<MonitorMode>>
    beginMonitorMode(MonitorUse use = MonitorUse::Capture) = 0;

    // Associated exactly when in station mode; an adapter in monitor mode is not.
    [[nodiscard]] bool isAssociated() const { return interfaceMode() == CWInterfaceMode::Station; }
    // The current channel's number; 0 when there is none.
    [[nodiscard]] long channelNumber() const;
    // The current channel's width in MHz; -1 when unknown.
    [[nodiscard]] long channelWidth() const;
};

} // namespace vantrel
