// Offers the loopback feed on the simulated radio, without a screen, and obeys the lines of its standard input.
//
//   feed_host [--announce] [--few]      without --announce no daemon is asked to announce the port; with --few the
//                                       adapter has the channels 1, 6, 11 and 36 alone, which makes for short sweeps
//
// Prints "port N", or what went wrong. Each line of input is answered by one line:
//
//   port              the port
//   state             one JSON object: the adapter's mode, network, channel and power, the number of connections, the
//                     records waiting to be sent, and how often captures were disabled and enabled
//   hops              a JSON list of [time in ms, channel] of every tuning since the last question
//   capturing 0|1     whether the user's own capture runs
//   power 0|1         switches the adapter; answered by "done"
//   start, stop       the server; answered by "port N", "failed" or "stopped"
//   quit, or the end of input: ends in the orderly way, and says "ended" once the adapter is back
#include "base/MainQueue.h"
#include "remote/CaptureControls.h"
#include "remote/VantrelCaptureConnection.h"
#include "remote/VantrelCaptureServer.h"
#include "simulated/SimulatedRadio.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSocketNotifier>
#include <iostream>
#include <mutex>
#include <sstream>
#include <unistd.h>

namespace {

using namespace vantrel;

class Controls final : public CaptureControls {
public:
    void disableCaptures() override { ++disabled; }
    void enableCaptures() override { ++enabled; }
    [[nodiscard]] bool isCapturing() const override { return capturing; }

    int disabled = 0;
    int enabled = 0;
    bool capturing = false;
};

// The simulated adapter, with the times at which it was tuned.
class TracedInterface final : public CWInterface {
public:
    explicit TracedInterface(CWInterface& airport) : _airport(airport) { _clock.start(); }

    QString interfaceName() const override { return _airport.interfaceName(); }
    CWInterfaceMode interfaceMode() const override { return _airport.interfaceMode(); }
    QString ssid() const override { return _airport.ssid(); }
    std::optional<CWChannel> wlanChannel() const override { return _airport.wlanChannel(); }
    std::vector<CWChannel> supportedWLANChannels() const override { return _airport.supportedWLANChannels(); }
    bool powerOn() const override { return _airport.powerOn(); }
    Expected<void> setWLANChannel(const CWChannel& channel) override {
        auto tuned = _airport.setWLANChannel(channel);
        const std::lock_guard lock(_mutex);
        _hops.append(QJsonArray{static_cast<double>(_clock.nsecsElapsed()) / 1e6, channel.channelNumber});
        return tuned;
    }
    Expected<void> setPower(bool on) override { return _airport.setPower(on); }
    void disassociate() override { _airport.disassociate(); }
    Expected<std::unique_ptr<MonitorMode>> beginMonitorMode(MonitorUse use) override {
        return _airport.beginMonitorMode(use);
    }

    QJsonArray takeHops() {
        const std::lock_guard lock(_mutex);
        return std::exchange(_hops, {});
    }

private:
    CWInterface& _airport;
    QElapsedTimer _clock;
    std::mutex _mutex;
    QJsonArray _hops; // guarded by _mutex
};

class Silent final : public NetService {
public:
    using NetService::NetService;
    void publish() override {}
    void stop() override {}
};

template <typename Json>
std::string text(const Json& value) {
    return QJsonDocument(value).toJson(QJsonDocument::Compact).toStdString();
}

class Host {
public:
    Host(CWInterface& airport, bool announce)
        : _airport(airport),
          _server({.airport = _airport,
                   .controls = _controls,
                   .makeNetService = announce ? NetServiceMaker(makeAvahiService)
                                              : [](const auto& what) { return std::make_unique<Silent>(what); }}) {}

    std::string start() { return _server.start() ? port() : "failed"; }
    std::string port() { return "port " + std::to_string(_server.port()); }
    std::string obey(const std::string& line);

private:
    std::string state();

    TracedInterface _airport;
    Controls _controls;
    VantrelCaptureServer _server;
};

std::string Host::obey(const std::string& line) {
    std::istringstream words(line);
    std::string verb;
    int value = 0;
    words >> verb >> value;
    if (verb == "port") {
        return port();
    }
    if (verb == "state") {
        return state();
    }
    if (verb == "hops") {
        return text(_airport.takeHops());
    }
    if (verb == "capturing") {
        _controls.capturing = value != 0;
        return "done";
    }
    if (verb == "power") {
        return _airport.setPower(value != 0) ? "done" : "failed";
    }
    if (verb == "start") {
        return start();
    }
    if (verb == "stop") {
        _server.stop();
        return "stopped";
    }
    return "unknown";
}

std::string Host::state() {
    const auto channel = _airport.wlanChannel();
    QJsonArray waiting;
    for (const auto& connection : _server.connections()) {
        waiting.append(static_cast<qint64>(connection->packetQueue().size()));
    }
    return text(QJsonObject{{QStringLiteral("mode"), static_cast<int>(_airport.interfaceMode())},
                            {QStringLiteral("ssid"), _airport.ssid()},
                            {QStringLiteral("channel"), channel ? channel->channelNumber : 0},
                            {QStringLiteral("width"), channel ? channel->channelWidth : 0},
                            {QStringLiteral("power"), _airport.powerOn()},
                            {QStringLiteral("connections"), static_cast<qint64>(_server.connections().size())},
                            {QStringLiteral("waiting"), waiting},
                            {QStringLiteral("disabled"), _controls.disabled},
                            {QStringLiteral("enabled"), _controls.enabled}});
}

int run(CWWiFiClient& wifi, bool announce) {
    Host host(wifi.interface(), announce);
    std::cout << host.start() << std::endl;
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    std::string pending;
    QObject::connect(&input, &QSocketNotifier::activated, &input, [&] {
        char bytes[256];
        const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
        if (count <= 0) {
            QCoreApplication::quit();
            return;
        }
        pending.append(bytes, static_cast<std::size_t>(count));
        for (auto end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
            const std::string line = pending.substr(0, end);
            pending.erase(0, end + 1);
            if (line == "quit") {
                QCoreApplication::quit();
                return;
            }
            std::cout << host.obey(line) << std::endl;
        }
    });
    return QCoreApplication::exec();
}

const std::vector<CWChannel> fewChannels = {{1, bandTwoDotFourGHz, width20MHz},  {6, bandTwoDotFourGHz, width20MHz},
                                            {11, bandTwoDotFourGHz, width20MHz}, {36, bandFiveGHz, width20MHz},
                                            {36, bandFiveGHz, width40MHz},       {36, bandFiveGHz, width80MHz}};

} // namespace

int main(int argc, char** argv) {
    const auto transport = prepareSimulatedTransport();
    if (!transport) {
        std::cout << "error: " << transport.error().text().toStdString() << std::endl;
        return 1;
    }
    const QCoreApplication application(argc, argv);
    SimulatedOptions options;
    options.transport = *transport;
    if (QCoreApplication::arguments().contains(QStringLiteral("--few"))) {
        options.supportedChannels = fewChannels;
    }
    const auto wifi = makeSimulatedClient(options);
    const int status = run(*wifi, QCoreApplication::arguments().contains(QStringLiteral("--announce")));
    std::cout << "ended " << (wifi->interface().isAssociated() ? "associated" : "not yet associated") << " on channel "
              << wifi->interface().channelNumber() << std::endl;
    return status;
}
