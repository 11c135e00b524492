#include "wifi/AbsentAdapter.h"

namespace vantrel {

namespace {

tl::unexpected<Error> noAdapter(const QString& what) {
    return failure(what, QStringLiteral("this machine has no Wi-Fi adapter that can be used"));
}

class AbsentInterface final : public CWInterface {
public:
    QString interfaceName() const override { return {}; }
    CWInterfaceMode interfaceMode() const override { return CWInterfaceMode::None; }
    QString ssid() const override { return {}; }
    std::optional<CWChannel> wlanChannel() const override { return {}; }
    std::vector<CWChannel> supportedWLANChannels() const override { return {}; }
    bool powerOn() const override { return false; }
    Expected<void> setWLANChannel(const CWChannel&) override { return noAdapter(QStringLiteral("setWLANChannel")); }
    Expected<void> setPower(bool) override { return noAdapter(QStringLiteral("setPower")); }
    void disassociate() override {}
    Expected<std::unique_ptr<MonitorMode>> beginMonitorMode(MonitorUse /*use*/) override {
        return noAdapter(QStringLiteral("beginMonitorMode"));
    }
};

class AbsentClient final : public CWWiFiClient {
public:
    CWInterface& interface() override { return _interface; }
    QString backendNote() const override { return QStringLiteral("no Wi-Fi adapter"); }
    void setDelegate(CWEventDelegate*) override {}
    Expected<void> startMonitoringEventWithType(CWEventType) override { return {}; }

private:
    AbsentInterface _interface;
};

} // namespace

std::unique_ptr<CWWiFiClient> makeAbsentAdapterClient() { return std::make_unique<AbsentClient>(); }

} // namespace vantrel
