// An adapter whose state a test sets by hand and whose calls it reads back as texts.
#pragma once

#include "wifi/CWInterface.h"

#include <string>
#include <vector>

namespace vantrel::testing {

class ScriptedInterface : public CWInterface {
public:
    CWInterfaceMode mode = CWInterfaceMode::None;
    std::optional<CWChannel> channel;
    bool refuse = false;            // every change fails
    std::vector<std::string> calls; // in order

    QString interfaceName() const override { return QStringLiteral("scripted0"); }
    CWInterfaceMode interfaceMode() const override { return mode; }
    QString ssid() const override { return {}; }
    std::optional<CWChannel> wlanChannel() const override { return channel; }
    std::vector<CWChannel> supportedWLANChannels() const override { return {}; }
    bool powerOn() const override { return true; }
    Expected<void> setWLANChannel(const CWChannel& wanted) override {
        return answer("channel " + std::to_string(wanted.channelNumber) + "/" + std::to_string(wanted.channelWidth));
    }
    Expected<void> setPower(bool on) override { return answer(on ? "power on" : "power off"); }
    void disassociate() override { calls.emplace_back("disassociate"); }
    Expected<std::unique_ptr<MonitorMode>> beginMonitorMode() override {
        return failure(QStringLiteral("beginMonitorMode"), QStringLiteral("not here"));
    }

private:
    Expected<void> answer(std::string call) {
        calls.push_back(std::move(call));
        if (refuse) {
            return failure(QStringLiteral("scripted"), QStringLiteral("refused"));
        }
        return {};
    }
};

} // namespace vantrel::testing
