// The application without a window, on the machine's real adapter: session, commands, hop loop and the client of
// vantrel-radio as the application wires them, obeying lines of standard input.
//
// Lines it obeys: capture, all, all24, all5, other NUMBER MHZ, stop, cancel, power on|off, disassociate, state, quit
// (also the end of input). Every question is answered with its first button.
// Lines it prints: "ready DLT", "capturing", "refused" (a command did not start a capture), "failed" (the device was
// not opened), "alert MESSAGE | INFORMATION", "ask MESSAGE | INFORMATION", "tuned COUNT NUMBER WIDTH" (the count begins
// anew at each command), "untuned ERROR", "idle FRAMES DROPPED" (frames of the finished files that are kept, and those
// the kernel dropped), and at every change of the adapter "state INTERFACE MODE NUMBER WIDTH on|off SSID".
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
#include "wifi/Association.h"
#include "wifi/CaptureCommands.h"
#include "wifi/ChannelMath.h"
#include "wifi/HopLoop.h"

#include <QCoreApplication>
#include <QDir>
#include <cstdio>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>

namespace {

using namespace vantrel;
using namespace std::chrono_literals;

// Any thread.
void say(const QString& line) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::puts(qUtf8Printable(line));
    std::fflush(stdout);
}

// The adapter, telling of each tuning.
class ToldInterface final : public CWInterface {
public:
    explicit ToldInterface(CWInterface& adapter) : _adapter(adapter) {}
    void startCounting() { _count = 0; }

    QString interfaceName() const override { return _adapter.interfaceName(); }
    CWInterfaceMode interfaceMode() const override { return _adapter.interfaceMode(); }
    QString ssid() const override { return _adapter.ssid(); }
    std::optional<CWChannel> wlanChannel() const override { return _adapter.wlanChannel(); }
    std::vector<CWChannel> supportedWLANChannels() const override { return _adapter.supportedWLANChannels(); }
    bool powerOn() const override { return _adapter.powerOn(); }
    Expected<void> setWLANChannel(const CWChannel& channel) override {
        auto tuned = _adapter.setWLANChannel(channel);
        if (tuned) {
            say(QStringLiteral("tuned %1 %2 %3").arg(++_count).arg(channel.channelNumber).arg(channel.channelWidth));
        } else {
            say(QStringLiteral("untuned ") + tuned.error().text());
        }
        return tuned;
    }
    Expected<void> setPower(bool on) override { return _adapter.setPower(on); }
    void disassociate() override { _adapter.disassociate(); }
    Expected<std::unique_ptr<MonitorMode>> beginMonitorMode(MonitorUse use) override {
        return _adapter.beginMonitorMode(use);
    }

private:
    CWInterface& _adapter;
    std::atomic<int> _count = 0;
};

// Prints whatever a user would be shown, and answers in the user's place.
class Spoken final : public CaptureView, public UserDialogs, public WiFiView, public WiFiDialogs {
public:
    void enableCaptures() override { ended = true; }
    void disableCaptures() override { say(QStringLiteral("capturing")); }
    void updateStatusItem() override {}
    void updateStatusMenu() override {}
    void startProgress() override {}
    void updateProgress() override {}
    void closeProgress() override {}
    void showCriticalAlertWithInfo(const QString& messageText, const QString& informativeText) override {
        say(QStringLiteral("alert %1 | %2").arg(messageText, informativeText));
    }
    std::optional<QString> chooseCaptureFolder() override { return QDir::currentPath(); }
    Answer ask(const Question& question) override {
        say(QStringLiteral("ask %1 | %2").arg(question.messageText, question.informativeText));
        return {.isFirstButton = true, .isSuppressed = false};
    }
    bool ended = false;
};

class Driver : private CWEventDelegate, private CaptureStarter {
public:
    explicit Driver(CWWiFiClient& wifi) : _wifi(wifi), _airport(wifi.interface()) {
        _settings.registerDefaults(registeredDefaults({}, QDir::currentPath()));
        _session = std::make_unique<CaptureSession>(CaptureSession::Surroundings{.settings = _settings,
                                                                                 .airport = _airport,
                                                                                 .flags = _flags,
                                                                                 .restore = _restore,
                                                                                 .mainQueue = _mainQueue,
                                                                                 .timers = *_timers,
                                                                                 .packetQueue = _packetQueue,
                                                                                 .view = _spoken,
                                                                                 .dialogs = _spoken,
                                                                                 .hopper = _hopper,
                                                                                 .finalizer = _delivery.finalizer(),
                                                                                 .desktopFolder = QDir::currentPath()});
        _wifi.setDelegate(this);
        for (const CWEventType type : {CWEventType::BSSIDDidChange, CWEventType::PowerDidChange,
                                       CWEventType::ModeDidChange, CWEventType::SSIDDidChange}) {
            if (const auto monitoring = _wifi.startMonitoringEventWithType(type); !monitoring) {
                say(QStringLiteral("alert %1 |").arg(monitoring.error().text()));
            }
        }
        const auto offered = offeredDataLinks(_airport);
        _session->setDataLinkType(chooseDataLink(offered, _settings.integerForKey(keys::LinkLayerHeader)));
        _idleCheck = _timers->every(2ms, [this] { reportIdle(); });
        say(QStringLiteral("ready %1").arg(_session->dataLinkType()));
    }
    ~Driver() override {
        _wifi.setDelegate(nullptr);
        _mainQueue.close(); // before what its work belongs to
        _session.reset();
    }

    // Any thread.
    void obey(const QString& line) {
        _mainQueue.post([this, words = line.split(u' ')] { obey(words); });
    }

private:
    void obey(const QStringList& words) {
        const QString& command = words.front();
        _airport.startCounting();
        if (command == QLatin1StringView("stop")) {
            _session->userDidStop();
        } else if (command == QLatin1StringView("cancel")) {
            _session->userDidCancel();
        } else if (command == QLatin1StringView("state")) {
            sayState();
        } else if (command == QLatin1StringView("disassociate")) {
            _association.onDisassociate();
        } else if (command == QLatin1StringView("power")) {
            if (_airport.powerOn() != (words.last() == QLatin1StringView("on"))) {
                _association.onTurnOnOff();
            }
        } else if (command == QLatin1StringView("quit")) {
            _quitting = true;
            _session->userDidStop();
        } else {
            capture(words);
        }
    }

    void capture(const QStringList& words) {
        const QString& command = words.front();
        if (command == QLatin1StringView("capture")) {
            _commands.onCapture();
        } else if (command == QLatin1StringView("all")) {
            _commands.onCaptureAll();
        } else if (command == QLatin1StringView("all24")) {
            _commands.onCaptureAll2Dot4GHz();
        } else if (command == QLatin1StringView("all5")) {
            _commands.onCaptureAll5GHz();
        } else if (command == QLatin1StringView("other") && words.size() == 3) {
            captureOther(words[1].toInt(), words[2].toInt());
        } else {
            say(QStringLiteral("unknown ") + words.join(u' '));
        }
        if (!_busy) {
            say(QStringLiteral("refused"));
        }
    }

    void captureOther(int number, int megahertz) {
        for (const CWChannel& channel : _airport.supportedWLANChannels()) {
            if (channel.channelNumber == number && widthInMHz(channel.channelWidth) == megahertz) {
                _commands.onCaptureOther(channel);
                return;
            }
        }
        say(QStringLiteral("unsupported %1 %2").arg(number).arg(megahertz));
    }

    bool prepareCapture() override { return _session->prepareCapture(); }
    bool startCapture(CaptureMode mode) override {
        _busy = _session->startCapture(mode);
        return _busy;
    }

    void sayState() {
        const auto channel = _airport.wlanChannel().value_or(CWChannel{});
        const QString name = _airport.interfaceName();
        say(QStringLiteral("state %1 %2 %3 %4 %5 %6")
                .arg(name.isEmpty() ? QStringLiteral("-") : name)
                .arg(static_cast<int>(_airport.interfaceMode()))
                .arg(channel.channelNumber)
                .arg(channel.channelWidth)
                .arg(_airport.powerOn() ? QStringLiteral("on") : QStringLiteral("off"), _airport.ssid()));
    }

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

    void changed() {
        _mainQueue.post([this] { sayState(); });
    }
    void bssidDidChangeForWiFiInterfaceWithName(const QString& /*name*/) override { changed(); }
    void powerStateDidChangeForWiFiInterfaceWithName(const QString& /*name*/) override { changed(); }
    void modeDidChangeForWiFiInterfaceWithName(const QString& /*name*/) override { changed(); }
    void ssidDidChangeForWiFiInterfaceWithName(const QString& /*name*/) override { changed(); }

    CWWiFiClient& _wifi;
    ToldInterface _airport;
    SettingsStore _settings;
    MainQueue _mainQueue;
    std::unique_ptr<Timers> _timers = makeEventLoopTimers();
    CaptureFlags _flags;
    AdapterRestore _restore;
    PacketQueue _packetQueue{[this] { _settings.refresh(); }};
    Spoken _spoken;
    Association _association{{.settings = _settings, .airport = _airport, .restore = _restore, .dialogs = _spoken}};
    CaptureCommands _commands{{.settings = _settings,
                               .airport = _airport,
                               .flags = _flags,
                               .restore = _restore,
                               .association = _association,
                               .dialogs = _spoken,
                               .starter = *this,
                               .view = _spoken}};
    HopLoop _hopLoop{{.settings = _settings,
                      .airport = _airport,
                      .flags = _flags,
                      .restore = _restore,
                      .mainQueue = _mainQueue,
                      .view = _spoken}};
    PlannedHopper _hopper{{.settings = _settings, .airport = _airport, .loop = _hopLoop, .customChannels = [this] {
                               return _commands.customChannels();
                           }}};
    testing::QuietDelivery _delivery{_settings, _mainQueue, [this](const QString& text, const QString& info) {
                                         _spoken.showCriticalAlertWithInfo(text, info);
                                     }};
    std::unique_ptr<CaptureSession> _session;
    std::unique_ptr<Timers::Handle> _idleCheck;
    bool _busy = false;
    bool _quitting = false;
};

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const auto client = makeWiFiClient(WiFiBackend{});
    Driver driver(*client);
    std::thread input([&driver] {
        for (std::string line; line != "quit" && std::getline(std::cin, line);) {
            driver.obey(QString::fromStdString(line));
        }
        driver.obey(QStringLiteral("quit"));
    });
    const int status = QCoreApplication::exec();
    input.join();
    return status;
}
