// An adapter whose state a test sets by hand and whose calls it reads back as texts.
#pragma once

#include "wifi/CWInterface.h"

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace vantrel::testing {

class ScriptedInterface : public CWInterface {
public:
    // Set while no other thread uses the adapter.
    CWInterfaceMode mode = CWInterfaceMode::None;
    QString network;
    std::optional<CWChannel> channel;
    std::vector<CWChannel> supported;
    bool power = true;
    bool refuse = false;                                     // every change fails
    std::function<bool(const CWChannel&)> refusesChannel;    // this one fails
    std::function<void(const std::string& call)> duringCall; // runs in the midst of each change, on the caller's thread

    std::vector<std::string> calls; // in order; a test also notes here what else happens

    // Any thread.
    void note(std::string call) {
        {
            const std::lock_guard lock(_mutex);
            calls.push_back(std::move(call));
        }
        _changed.notify_all();
    }
    // Waits until a call has been noted so many times.
    void waitFor(const std::string& call, std::ptrdiff_t times = 1) {
        std::unique_lock lock(_mutex);
        _changed.wait(lock, [&] { return std::count(calls.begin(), calls.end(), call) >= times; });
    }

    QString interfaceName() const override { return QStringLiteral("scripted0"); }
    CWInterfaceMode interfaceMode() const override { return mode; }
    QString ssid() const override { return network; }
    std::optional<CWChannel> wlanChannel() const override { return channel; }
    std::vector<CWChannel> supportedWLANChannels() const override { return supported; }
    bool powerOn() const override { return power; }
    Expected<void> setWLANChannel(const CWChannel& wanted) override {
        return answer("channel " + std::to_string(wanted.channelNumber) + "/" + std::to_string(wanted.channelWidth),
                      refuse || (refusesChannel && refusesChannel(wanted)));
    }
    Expected<void> setPower(bool on) override { return answer(on ? "power on" : "power off", refuse); }
    void disassociate() override {
        note("disassociate");
        mode = CWInterfaceMode::None;
    }
    Expected<std::unique_ptr<MonitorMode>> beginMonitorMode(MonitorUse /*use*/) override {
        return failure(QStringLiteral("beginMonitorMode"), QStringLiteral("not here"));
    }

private:
    Expected<void> answer(const std::string& call, bool isRefused) {
        note(call);
        if (duringCall) {
            duringCall(call);
        }
        if (isRefused) {
            return failure(QStringLiteral("scripted"), QStringLiteral("refused"));
        }
        return {};
    }

    std::mutex _mutex; // orders what is noted; a test reads `calls` once the other threads are done
    std::condition_variable _changed;
};

} // namespace vantrel::testing
