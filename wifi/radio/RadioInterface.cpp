#include "RadioInterface.h"

#include "Logging.h"

namespace vantrel {

namespace {

// Belongs to one run of the process: a later one knows nothing of it, and has put the adapter back.
class RadioMonitor final : public MonitorMode {
public:
    RadioMonitor(std::shared_ptr<RadioLink> link, RadioRequests::Answer begun)
        : _link(std::move(link)),
          _begun(std::move(begun)) {}
    RadioMonitor(const RadioMonitor&) = delete;
    RadioMonitor& operator=(const RadioMonitor&) = delete;

    ~RadioMonitor() override {
        const auto ended = _link->askInRun(_begun.run, QStringLiteral("EndMonitor"), protocol::EndMonitor{});
        if (!ended) {
            qCWarning(lcRadio, "ending the monitor mode failed: %s", qUtf8Printable(ended.error().text()));
        }
    }

    [[nodiscard]] QString deviceName() const override { return _begun.result; }
    [[nodiscard]] FileDescriptor takeStream() override { return {}; }

private:
    const std::shared_ptr<RadioLink> _link;
    const RadioRequests::Answer _begun;
};

} // namespace

Expected<void> RadioInterface::setWLANChannel(const CWChannel& channel) {
    const QString what = QStringLiteral("setWLANChannel");
    if (!protocol::isInRange(channel)) {
        return failure(what, QStringLiteral("there is no such channel"));
    }
    return _link->ask(what, protocol::SetChannel{channel}).map([](const RadioRequests::Answer&) {});
}

Expected<void> RadioInterface::setPower(bool on) {
    return _link->ask(QStringLiteral("setPower"), protocol::SetPower{on}).map([](const RadioRequests::Answer&) {});
}

void RadioInterface::disassociate() {
    const auto done = _link->ask(QStringLiteral("disassociate"), protocol::Disassociate{});
    if (!done) {
        qCWarning(lcRadio, "disassociate failed: %s", qUtf8Printable(done.error().text()));
    }
}

Expected<std::unique_ptr<MonitorMode>> RadioInterface::beginMonitorMode(MonitorUse use) {
    const QString what = QStringLiteral("beginMonitorMode");
    auto begun = _link->ask(what, protocol::BeginMonitor{.probe = use == MonitorUse::Probe});
    if (!begun) {
        return tl::unexpected(begun.error());
    }
    if (begun->result.isEmpty()) {
        return failure(what, QStringLiteral("vantrel-radio has named no device"));
    }
    return std::make_unique<RadioMonitor>(_link, std::move(*begun));
}

} // namespace vantrel
