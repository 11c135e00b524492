// The few things that can be asked of the system about an adapter, and done to it: what AdapterKeeper is built of.
//
// One thread. Every call is bounded in time. KernelControl answers with the real system, tests with a scripted one.
#pragma once

#include "netlink/Nl80211.h"

#include <QString>
#include <cstdint>
#include <optional>
#include <vector>

namespace vantrel {

// How NetworkManager sees a device.
struct ManagedDevice {
    bool managed = false;     // it may configure the device
    bool autoconnect = false; // it joins networks by itself
    friend bool operator==(const ManagedDevice&, const ManagedDevice&) = default;
};

class AdapterControl {
public:
    virtual ~AdapterControl() = default;

    // Every wireless interface of the machine, by index; none where the kernel has no Wi-Fi. Nothing when it did not
    // answer, which says nothing about the interfaces.
    [[nodiscard]] virtual std::optional<std::vector<netlink::WirelessInterface>> interfaces() = 0;
    [[nodiscard]] virtual std::vector<CWChannel> supportedChannels(std::uint32_t wiphy) = 0;
    [[nodiscard]] virtual std::optional<netlink::Association> association(int interfaceIndex) = 0;

    // Nothing when the interface is gone.
    [[nodiscard]] virtual std::optional<bool> isLinkUp(int interfaceIndex) = 0;
    [[nodiscard]] virtual Expected<void> setLinkUp(int interfaceIndex, bool up) = 0;

    // By software or by a switch of the machine.
    [[nodiscard]] virtual bool isBlocked(std::uint32_t wiphy) = 0;
    [[nodiscard]] virtual Expected<void> setBlocked(std::uint32_t wiphy, bool blocked) = 0;

    // The monitor's index. It vanishes with this process.
    [[nodiscard]] virtual Expected<int> addMonitor(std::uint32_t wiphy, const QString& name) = 0;
    [[nodiscard]] virtual Expected<void> removeInterface(int interfaceIndex) = 0;
    [[nodiscard]] virtual Expected<void> setChannel(int monitorIndex, const CWChannel& channel) = 0;

    // Nothing where no NetworkManager runs, or where it does not know the device. What is asked of one that is not
    // there is done.
    [[nodiscard]] virtual std::optional<ManagedDevice> managedDevice(const QString& interfaceName) = 0;
    [[nodiscard]] virtual Expected<void> setManaged(const QString& interfaceName, bool managed) = 0;
    [[nodiscard]] virtual Expected<void> setAutoconnect(const QString& interfaceName, bool autoconnect) = 0;
    [[nodiscard]] virtual Expected<void> disconnect(const QString& interfaceName) = 0;
};

} // namespace vantrel
