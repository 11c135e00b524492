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

    // As netlink::Nl80211 has them.
    [[nodiscard]] virtual std::vector<std::uint64_t> p2pDevices(std::uint32_t wiphy) = 0;
    [[nodiscard]] virtual Expected<bool> stopP2pDevice(std::uint64_t device) = 0;
    [[nodiscard]] virtual Expected<void> startP2pDevice(std::uint64_t device) = 0;

    // Whether NetworkManager configures the device; not where none runs, or where it does not know the device. An error
    // when it does not answer: to change a device behind its back would leave it with a wrong picture.
    [[nodiscard]] virtual Expected<bool> isManaged(const QString& interfaceName) = 0;
    // Taken from it, the device leaves its network; handed back, it joins the preferred one. What is asked of a
    // NetworkManager that is not there is done.
    [[nodiscard]] virtual Expected<void> setManaged(const QString& interfaceName, bool managed) = 0;
};

} // namespace vantrel
