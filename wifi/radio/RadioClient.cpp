#include "radio/RadioClient.h"

#include "RadioInterface.h"

namespace vantrel {

namespace {

class RadioClient final : public CWWiFiClient {
public:
    explicit RadioClient(const std::shared_ptr<RadioLink>& link) : _link(link), _interface(link) {}
    RadioClient(const RadioClient&) = delete;
    RadioClient& operator=(const RadioClient&) = delete;
    ~RadioClient() override {
        setDelegate(nullptr);
        _link->close(); // monitor modes may keep the link itself
    }

    [[nodiscard]] CWInterface& interface() override { return _interface; }
    [[nodiscard]] QString backendNote() const override {
        return _interface.interfaceName().isEmpty() ? QStringLiteral("no Wi-Fi adapter") : QString();
    }
    void setDelegate(CWEventDelegate* delegate) override { _link->snapshot().events().setDelegate(delegate); }
    [[nodiscard]] Expected<void> startMonitoringEventWithType(CWEventType type) override {
        _link->snapshot().events().monitor(type);
        return {};
    }

private:
    const std::shared_ptr<RadioLink> _link;
    RadioInterface _interface;
};

} // namespace

Expected<std::unique_ptr<CWWiFiClient>> makeRadioClient(const RadioOptions& options) {
    return RadioLink::start(options).map([](const std::shared_ptr<RadioLink>& link) -> std::unique_ptr<CWWiFiClient> {
        return std::make_unique<RadioClient>(link);
    });
}

} // namespace vantrel
