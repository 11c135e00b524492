// The adapter as vantrel-radio last announced it; what changes it is asked of the process.
#pragma once

#include "RadioLink.h"

namespace vantrel {

class RadioInterface final : public CWInterface {
public:
    explicit RadioInterface(std::shared_ptr<RadioLink> link) : _link(std::move(link)) {}

    [[nodiscard]] QString interfaceName() const override { return _link->snapshot().state().interfaceName; }
    [[nodiscard]] CWInterfaceMode interfaceMode() const override { return _link->snapshot().state().mode; }
    [[nodiscard]] QString ssid() const override { return _link->snapshot().state().ssid; }
    [[nodiscard]] std::optional<CWChannel> wlanChannel() const override { return _link->snapshot().state().channel; }
    [[nodiscard]] std::vector<CWChannel> supportedWLANChannels() const override { return _link->snapshot().channels(); }
    [[nodiscard]] bool powerOn() const override { return _link->snapshot().state().powerOn; }

    [[nodiscard]] Expected<void> setWLANChannel(const CWChannel& channel) override;
    [[nodiscard]] Expected<void> setPower(bool on) override;
    void disassociate() override;
    [[nodiscard]] Expected<std::unique_ptr<MonitorMode>> beginMonitorMode(MonitorUse use) override;

private:
    const std::shared_ptr<RadioLink> _link; // shared with the client and the monitor modes
};

} // namespace vantrel
