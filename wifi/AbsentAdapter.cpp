#include "wifi/AbsentAdapter.h"

namespace vantrel {

namespace {

struct Absence {
    QString interfaceName;
    bool powerOn;
    QString why;  // of every refusal
    QString note; // for the user
};

class AbsentInterface final : public CWInterface {
public:
    explicit AbsentInterface(Absence absence) : _absence(std::move(absence)) {}

    QString interfaceName() const override { return _absence.interfaceName; }
    CWInterfaceMode interfaceMode() const override { return CWInterfaceMode::None; }
    QString ssid() const override { return {}; }
    std::optional<CWChannel> wlanChannel() const override { return {}; }
    std::vector<CWChannel> supportedWLANChannels() const override { return {}; }
    bool powerOn() const override { return _absence.powerOn; }
    Expected<void> setWLANChannel(const CWChannel&) override { return refuse("setWLANChannel"); }
    Expected<void> setPower(bool) override { return refuse("setPower"); }
    void disassociate() override {}
    Expected<std::unique_ptr<MonitorMode>> beginMonitorMode(MonitorUse /*use*/) override {
        return refuse("beginMonitorMode");
    }
    [[nodiscard]] QString note() const { return _absence.note; }

private:
    [[nodiscard]] tl::unexpected<Error> refuse(const char* what) const {
        return failure(QString::fromLatin1(what), _absence.why);
    }

    const Absence _absence;
};

class AbsentClient final : public CWWiFiClient {
public:
    explicit AbsentClient(Absence absence) : _interface(std::move(absence)) {}

    CWInterface& interface() override { return _interface; }
    QString backendNote() const override { return _interface.note(); }
    void setDelegate(CWEventDelegate*) override {}
    Expected<void> startMonitoringEventWithType(CWEventType) override { return {}; }

private:
    AbsentInterface _interface;
};

} // namespace

std::unique_ptr<CWWiFiClient> makeAbsentAdapterClient() {
    return std::make_unique<AbsentClient>(
        Absence{.interfaceName = {},
                .powerOn = false,
                .why = QStringLiteral("this machine has no Wi-Fi adapter that can be used"),
                .note = QStringLiteral("no Wi-Fi adapter")});
}

std::unique_ptr<CWWiFiClient> makeForbiddenAdapterClient(const QString& interfaceName) {
    return std::make_unique<AbsentClient>(
        Absence{.interfaceName = interfaceName,
                .powerOn = true,
                .why = QStringLiteral("only members of the group 'access_bpf' may drive the Wi-Fi adapter"),
                .note = QStringLiteral("no permission to capture")});
}

} // namespace vantrel
