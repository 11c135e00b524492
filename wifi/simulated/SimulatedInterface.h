// The simulated adapter as the rest of the program sees it.
#pragma once

#include "RadioState.h"
#include "wifi/CWInterface.h"

namespace vantrel {

class SimulatedInterface final : public CWInterface {
public:
    SimulatedInterface(std::shared_ptr<RadioState> state, SimulatedTransport transport)
        : _state(std::move(state)),
          _transport(transport) {}

    [[nodiscard]] QString interfaceName() const override { return RadioState::name(); }
    [[nodiscard]] CWInterfaceMode interfaceMode() const override { return _state->mode(); }
    [[nodiscard]] QString ssid() const override { return _state->ssid(); }
    [[nodiscard]] std::optional<CWChannel> wlanChannel() const override { return _state->channel(); }
    [[nodiscard]] std::vector<CWChannel> supportedWLANChannels() const override { return _state->supportedChannels(); }
    [[nodiscard]] bool powerOn() const override { return _state->powerOn(); }

    [[nodiscard]] Expected<void> setWLANChannel(const CWChannel& channel) override { return _state->tune(channel); }
    [[nodiscard]] Expected<void> setPower(bool on) override;
    void disassociate() override { _state->disassociate(); }
    [[nodiscard]] Expected<std::unique_ptr<MonitorMode>> beginMonitorMode(MonitorUse /*use*/) override;

private:
    const std::shared_ptr<RadioState> _state; // shared with the monitors
    const SimulatedTransport _transport;
};

} // namespace vantrel
