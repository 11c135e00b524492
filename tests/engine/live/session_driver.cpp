// Runs captures without a window: the session, the queue, the files and the delivery as the application wires them,
// obeying lines of standard input. The tests and the benchmarks drive it.
//
//   session_driver DEVICE     captures on a network device that exists, with the user's settings and folders
//   session_driver simulated  on the simulated radio
//
// Lines it obeys: start, stop, cancel, quit (also the end of input).
// Lines it prints: "ready DLT", "capturing", "failed" (the device was not opened), "alert MESSAGE | INFORMATION",
// "idle FRAMES DROPPED" (frames of the finished files that are still kept, and those the kernel dropped).
#include "app/SessionAdapters.h"
#include "backend/WiFiBackend.h"
#include "base/MainQueue.h"
#include "engine/CaptureDevice.h"
#include "engine/CaptureSession.h"
#include "engine/PacketQueue.h"
#include "engine/Timers.h"
#include "settings/Defaults.h"
#include "settings/SettingsKeys.h"
#include "settings/SettingsStore.h"
#include "support/QuietDelivery.h"
#include "wifi/AdapterRestore.h"

#include <QCoreApplication>
#include <QDir>
#include <cstdio>
#include <functional>
#include <iostream>
#include <pthread.h>
#include <string>
#include <thread>

namespace {

using namespace vantrel;

void say(const QString& line) {
    std::puts(qUtf8Printable(line));
    std::fflush(stdout);
}

class NamedDevice final : public MonitorMode {
public:
    explicit NamedDevice(QString name) : _name(std::move(name)) {}
    QString deviceName() const override { return _name; }
    FileDescriptor takeStream() override { return {}; }

private:
    QString _name;
};

// An adapter that is one network device, always in monitor mode.
class DeviceInterface final : public CWInterface {
public:
    explicit DeviceInterface(QString name) : _name(std::move(name)) {}
    QString interfaceName() const override { return _name; }
    CWInterfaceMode interfaceMode() const override { return CWInterfaceMode::Monitor; }
    QString ssid() const override { return {}; }
    std::optional<CWChannel> wlanChannel() const override { return CWChannel{6, bandTwoDotFourGHz, width20MHz}; }
    std::vector<CWChannel> supportedWLANChannels() const override { return {*wlanChannel()}; }
    bool powerOn() const override { return true; }
    Expected<void> setWLANChannel(const CWChannel&) override { return {}; }
    Expected<void> setPower(bool) override { return {}; }
    void disassociate() override {}
    Expected<std::unique_ptr<MonitorMode>> beginMonitorMode(MonitorUse /*use*/) override {
        return std::make_unique<NamedDevice>(_name);
    }

private:
    QString _name;
};

class Spoken final : public CaptureView, public UserDialogs {
public:
    void enableCaptures() override { ended = true; }
    void disableCaptures() override { say(QStringLiteral("capturing")); }
    void updateStatusItem() override {}
    void startProgress() override {}
    void updateProgress() override {}
    void closeProgress() override {}
    void showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) override {
        say(QStringLiteral("alert %1 | %2").arg(messageText, informativeText));
    }
    std::optional<QString> chooseCaptureFolder() override { return QDir::currentPath(); }
    bool ended = false;
};

// The driver's captures stay on one channel.
class NoHopper final : public ChannelHopper {
public:
    void startHopping(CaptureMode) override {}
    void stopHopping() override {}
};

// Named as the application's, so that a profile tells the threads apart.
std::thread startNamedThread(std::function<void()> work) {
    return std::thread([work = std::move(work)] {
        ::pthread_setname_np(::pthread_self(), "vantrel-pcap");
        work();
    });
}

class Driver {
public:
    explicit Driver(CWInterface& airport) : _airport(airport) {
        _settings.registerDefaults(registeredDefaults({}, QDir::currentPath()));
        _session =
            std::make_unique<CaptureSession>(CaptureSession::Surroundings{.settings = _settings,
                                                                          .airport = airport,
                                                                          .flags = _flags,
                                                                          .restore = _restore,
                                                                          .mainQueue = _mainQueue,
                                                                          .timers = *_timers,
                                                                          .packetQueue = _packetQueue,
                                                                          .view = _spoken,
                                                                          .dialogs = _spoken,
                                                                          .hopper = _hopper,
                                                                          .finalizer = _delivery.finalizer(),
                                                                          .desktopFolder = QDir::currentPath(),
                                                                          .startCaptureThread = startNamedThread});
        const auto offered = offeredDataLinks(_airport);
        _session->setDataLinkType(chooseDataLink(offered, _settings.integerForKey(keys::LinkLayerHeader)));
        _idleCheck = _timers->every(std::chrono::milliseconds(2), [this] { reportIdle(); });
        say(QStringLiteral("ready %1").arg(_session->dataLinkType()));
    }

    // Any thread.
    void obey(const std::string& line) {
        _mainQueue.post([this, line] {
            if (line == "start" && _session->prepareCapture() && _session->startCapture(CaptureMode::SingleChannel)) {
                _busy = true;
            } else if (line == "stop") {
                _session->userDidStop();
            } else if (line == "cancel") {
                _session->userDidCancel();
            } else if (line == "quit") {
                _quitting = true;
                _session->userDidStop();
            }
        });
    }

private:
    void reportIdle() {
        if (_session->state() != CaptureSession::State::Idle) {
            return;
        }
        if (std::exchange(_busy, false)) {
            say(std::exchange(_spoken.ended, false) ? QStringLiteral("idle %1 %2")
                                                          .arg(_session->totalFrames())
                                                          .arg(_session->progress().framesDroppedByKernel)
                                                    : QStringLiteral("failed"));
        }
        if (_quitting) {
            QCoreApplication::quit();
        }
    }

    SettingsStore _settings;
    MainQueue _mainQueue;
    std::unique_ptr<Timers> _timers = makeEventLoopTimers();
    CaptureFlags _flags;
    AdapterRestore _restore;
    PacketQueue _packetQueue{[this] { _settings.refresh(); }};
    Spoken _spoken;
    NoHopper _hopper;
    testing::QuietDelivery _delivery{_settings, _mainQueue, [this](const QString& text, const QString& info) {
                                         _spoken.showCriticalAlertWithInfo(text, info);
                                     }};
    CWInterface& _airport;
    std::unique_ptr<CaptureSession> _session;
    std::unique_ptr<Timers::Handle> _idleCheck;
    bool _busy = false;
    bool _quitting = false;
};

} // namespace

int main(int argc, char** argv) {
    const QString device = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    Expected<WiFiBackend> backend;
    const bool isSimulated = device == QLatin1StringView("simulated");
    if (isSimulated) {
        qputenv("VANTREL_RADIO", "simulated");
        backend = chooseWiFiBackend();
        if (!backend) {
            std::fprintf(stderr, "%s\n", qUtf8Printable(backend.error().text()));
            return 1;
        }
    }
    const QCoreApplication application(argc, argv);
    const auto simulated = isSimulated ? makeWiFiClient(*backend) : nullptr;
    DeviceInterface named(device);
    Driver driver(simulated ? simulated->interface() : named);
    std::thread input([&driver] {
        for (std::string line; line != "quit" && std::getline(std::cin, line);) {
            driver.obey(line);
        }
        driver.obey("quit");
    });
    const int status = QCoreApplication::exec();
    input.join();
    return status;
}
