#include "simulated/SimulatedRadio.h"

#include "Logging.h"
#include "SimulatedInterface.h"

namespace vantrel {

Q_LOGGING_CATEGORY(lcSimulated, "vantrel.simulated")

namespace {

class SimulatedWiFiClient final : public CWWiFiClient {
public:
    explicit SimulatedWiFiClient(const SimulatedOptions& options)
        : _state(std::make_shared<RadioState>(options)),
          _interface(_state, options.transport) {}
    ~SimulatedWiFiClient() override { _state->events().setDelegate(nullptr); }

    [[nodiscard]] CWInterface& interface() override { return _interface; }
    [[nodiscard]] QString backendNote() const override { return QStringLiteral("simulated"); }
    void setDelegate(CWEventDelegate* delegate) override { _state->events().setDelegate(delegate); }
    [[nodiscard]] Expected<void> startMonitoringEventWithType(CWEventType type) override {
        _state->events().monitor(type);
        return {};
    }

private:
    const std::shared_ptr<RadioState> _state; // shared with the interface and its monitors
    SimulatedInterface _interface;
};

} // namespace

std::unique_ptr<CWWiFiClient> makeSimulatedClient(const SimulatedOptions& options) {
    return std::make_unique<SimulatedWiFiClient>(options);
}

} // namespace vantrel
