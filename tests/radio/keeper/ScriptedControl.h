// A machine with one radio that keeps the kernel's rules: a monitor is tuned only while it is up and no other interface
// of its radio is, a link that goes down leaves its network, a blocked radio has no link up. Changes are noted in
// order.
#pragma once

#include "keeper/AdapterControl.h"

#include <functional>
#include <map>
#include <string>

namespace vantrel::testing {

class ScriptedControl final : public AdapterControl {
public:
    static constexpr int stationIndex = 3;
    static constexpr CWChannel one{1, bandTwoDotFourGHz, width20MHz};
    static constexpr CWChannel six{6, bandTwoDotFourGHz, width20MHz};
    static constexpr CWChannel wide{36, bandFiveGHz, width80MHz};

    std::vector<std::string> calls;          // changes, in order
    std::map<std::string, QString> refusals; // by the first word of the call
    bool answersInterfaces = true;
    std::vector<netlink::WirelessInterface> present{station(stationIndex, QStringLiteral("wlan0"))};
    std::map<int, bool> up{{stationIndex, true}};
    std::vector<CWChannel> supported{one, six, wide};
    bool associated = false;
    bool blocked = false;
    bool hardBlocked = false;
    bool managed = false; // by NetworkManager
    bool answersManaged = true;
    std::map<std::uint64_t, bool> p2p; // its devices, and which are started
    std::optional<CWChannel> tuned;    // the monitor
    std::function<void()> beforeCall;

    static netlink::WirelessInterface station(int index, QString name) {
        return {.index = index,
                .name = std::move(name),
                .wiphy = 0,
                .kind = netlink::InterfaceKind::Station,
                .address = {2, 0, 0, 0, 0, static_cast<std::uint8_t>(index)},
                .channel = {}};
    }

    void join(const CWChannel& channel) {
        associated = true;
        present.front().channel = channel;
    }

    // The switch is moved by somebody else.
    void block(bool off);

    std::optional<std::vector<netlink::WirelessInterface>> interfaces() override {
        return answersInterfaces ? std::optional(present) : std::nullopt;
    }
    std::vector<CWChannel> supportedChannels(std::uint32_t) override { return supported; }
    std::optional<netlink::Association> association(int index) override;
    std::optional<bool> isLinkUp(int index) override {
        const auto found = up.find(index);
        return found == up.end() ? std::nullopt : std::optional(found->second);
    }
    bool isBlocked(std::uint32_t) override { return blocked || hardBlocked; }

    Expected<void> setLinkUp(int index, bool toBeUp) override;
    Expected<void> setBlocked(std::uint32_t, bool off) override;
    Expected<int> addMonitor(std::uint32_t wiphy, const QString& monitorName) override;
    Expected<void> removeInterface(int index) override;
    Expected<void> setChannel(int index, const CWChannel& channel) override;
    std::vector<std::uint64_t> p2pDevices(std::uint32_t) override;
    Expected<bool> stopP2pDevice(std::uint64_t device) override;
    Expected<void> startP2pDevice(std::uint64_t device) override;
    Expected<bool> isManaged(const QString&) override {
        if (!answersManaged) {
            return failure(QStringLiteral("Get"), QStringLiteral("no reply"));
        }
        return managed;
    }
    Expected<void> setManaged(const QString&, bool toBeManaged) override;

    void vanish(int index) {
        std::erase_if(present, [index](const auto& interface) { return interface.index == index; });
        up.erase(index);
    }

private:
    [[nodiscard]] std::string name(int index) const;

    [[nodiscard]] Expected<void> call(std::string what);

    int _lastIndex = 10;
};

} // namespace vantrel::testing
