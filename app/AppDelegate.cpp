#include "app/AppDelegate.h"

#include "engine/CaptureDevice.h"
#include "services/PcapApplications.h"
#include "services/VersionInfo.h"
#include "settings/Defaults.h"
#include "settings/SettingsKeys.h"
#include "ui/Alerts.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QLoggingCategory>
#include <QStandardPaths>
#include <array>

namespace vantrel {

namespace {

Q_LOGGING_CATEGORY(lcApp, "vantrel.app", QtInfoMsg) // the steps of the start-up show when debug output is asked for

AppDelegate* shared = nullptr; // main thread

} // namespace

AppDelegate::AppDelegate(Options options) : _options(std::move(options)) {}

AppDelegate::~AppDelegate() {
    _options.wifi->setDelegate(nullptr);
    // Closing the queue first releases a capture thread that waits for an alert; then the session can join it.
    _mainQueue.close();
    _session.reset();
    if (shared == this) {
        shared = nullptr;
    }
}

AppDelegate* AppDelegate::sharedInstance() { return shared; }

std::span<const AppDelegate::Step> AppDelegate::firstStage() {
    static constexpr std::array<Step, 10> steps{{
        {"rememberSharedInstance", &AppDelegate::rememberSharedInstance},
        {"makePacketQueue", &AppDelegate::makePacketQueue},
        {"takeDesktopFolder", &AppDelegate::takeDesktopFolder},
        {"findPcapApplication", &AppDelegate::findPcapApplication},
        {"registerDefaultValues", &AppDelegate::registerDefaultValues},
        {"repairAfterCaptureActions", &AppDelegate::repairAfterCaptureActions},
        {"observeLoginItems", &AppDelegate::observeLoginItems},
        {"monitorWiFiEvents", &AppDelegate::monitorWiFiEvents},
        {"showBetaNotice", &AppDelegate::showBetaNotice},
        {"sendTrackingReport", &AppDelegate::sendTrackingReport},
    }};
    return steps;
}

std::span<const AppDelegate::Step> AppDelegate::secondStage() {
    static constexpr std::array<Step, 4> steps{{
        {"createStatusItem", &AppDelegate::createStatusItem},
        {"takeDefaultInterface", &AppDelegate::takeDefaultInterface},
        {"chooseLinkLayerHeader", &AppDelegate::chooseLinkLayerHeader},
        {"dropVanishedApplication", &AppDelegate::dropVanishedApplication},
    }};
    return steps;
}

void AppDelegate::run(std::span<const Step> stage) {
    for (const Step& step : stage) {
        qCDebug(lcApp, "start-up: %s", step.name);
        (this->*step.run)();
    }
}

void AppDelegate::applicationWillFinishLaunching() { run(firstStage()); }

void AppDelegate::applicationDidFinishLaunching() { run(secondStage()); }

void AppDelegate::rememberSharedInstance() {
    shared = this;
    _restore.setCurrentChannel({});
}

void AppDelegate::makePacketQueue() {
    _packetQueue = std::make_unique<PacketQueue>([this] { _settings.refresh(); });
}

void AppDelegate::takeDesktopFolder() {
    _desktopFolder = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
}

void AppDelegate::findPcapApplication() { _pcapApplication = defaultPcapApplication(); }

void AppDelegate::registerDefaultValues() {
    _settings.registerDefaults(registeredDefaults(_pcapApplication, _desktopFolder));
}

void AppDelegate::repairAfterCaptureActions() { repairAfterCaptureAction(_settings); }

void AppDelegate::observeLoginItems() {
    _loginItems = std::make_unique<LoginItems>(QCoreApplication::applicationFilePath());
    connect(_loginItems.get(), &LoginItems::launchAtLoginChanged, this,
            [](bool launch) { qCInfo(lcApp, "launch at login is now %s", launch ? "on" : "off"); });
}

void AppDelegate::monitorWiFiEvents() {
    _options.wifi->setDelegate(this);
    for (const CWEventType type : {CWEventType::BSSIDDidChange, CWEventType::PowerDidChange, CWEventType::ModeDidChange,
                                   CWEventType::SSIDDidChange}) {
        if (const auto monitoring = _options.wifi->startMonitoringEventWithType(type); !monitoring) {
            qCWarning(lcApp, "startMonitoringEventWithType failed: %s", qUtf8Printable(monitoring.error().text()));
        }
    }
}

void AppDelegate::showBetaNotice() {
    if (isBetaVersion(_options.version) && !ui::showBetaNotice()) {
        Q_EMIT quitRequested();
    }
}

void AppDelegate::sendTrackingReport() {
    if (_options.sendTrackingReport) {
        _options.sendTrackingReport();
    }
}

void AppDelegate::createStatusItem() {
    _statusItem = std::make_unique<ui::StatusItem>();
    _view = std::make_unique<TrayCaptureView>(*_statusItem, *_options.wifi);
    connect(_statusItem.get(), &ui::StatusItem::stopRequested, this, [this] { _session->userDidStop(); });
    connect(_statusItem.get(), &ui::StatusItem::quitRequested, this, &AppDelegate::quitRequested);
}

void AppDelegate::takeDefaultInterface() {
    makeHopping();
    makeSession();
    makeCommands();
    connectCommands();
    watchSleep();
}

void AppDelegate::makeHopping() {
    CWInterface& airport = _options.wifi->interface();
    _hopLoop = std::make_unique<HopLoop>(HopLoop::Surroundings{.settings = _settings,
                                                               .airport = airport,
                                                               .flags = _flags,
                                                               .restore = _restore,
                                                               .mainQueue = _mainQueue,
                                                               .view = *_view});
    _hopper = std::make_unique<PlannedHopper>(PlannedHopper::Surroundings{
        .settings = _settings, .airport = airport, .loop = *_hopLoop, .customChannels = [this] {
            return _commands->customChannels();
        }});
}

void AppDelegate::makeSession() {
    _session = std::make_unique<CaptureSession>(CaptureSession::Surroundings{.settings = _settings,
                                                                             .airport = _options.wifi->interface(),
                                                                             .flags = _flags,
                                                                             .restore = _restore,
                                                                             .mainQueue = _mainQueue,
                                                                             .timers = *_timers,
                                                                             .packetQueue = *_packetQueue,
                                                                             .view = *_view,
                                                                             .dialogs = _dialogs,
                                                                             .hopper = *_hopper,
                                                                             .finalizer = _finalizer,
                                                                             .desktopFolder = _desktopFolder});
    _view->setProgressText([this] {
        const auto progress = _session->progress();
        QString text = QStringLiteral("Capturing, frames: %1").arg(progress.frames);
        if (progress.framesDroppedByKernel > 0) {
            text += QStringLiteral(", dropped: %1").arg(progress.framesDroppedByKernel);
        }
        return text;
    });
}

void AppDelegate::makeCommands() {
    CWInterface& airport = _options.wifi->interface();
    _starter = std::make_unique<SessionStarter>(*_session);
    _association = std::make_unique<Association>(
        Association::Surroundings{.settings = _settings, .airport = airport, .restore = _restore, .dialogs = _dialogs});
    _commands = std::make_unique<CaptureCommands>(CaptureCommands::Surroundings{.settings = _settings,
                                                                                .airport = airport,
                                                                                .flags = _flags,
                                                                                .restore = _restore,
                                                                                .association = *_association,
                                                                                .dialogs = _dialogs,
                                                                                .starter = *_starter,
                                                                                .view = *_view});
}

void AppDelegate::connectCommands() {
    using Item = ui::StatusItem;
    connect(_statusItem.get(), &Item::captureRequested, this, [this] { _commands->onCapture(); });
    connect(_statusItem.get(), &Item::captureAll2Dot4GHzRequested, this, [this] { _commands->onCaptureAll2Dot4GHz(); });
    connect(_statusItem.get(), &Item::captureAll5GHzRequested, this, [this] { _commands->onCaptureAll5GHz(); });
    connect(_statusItem.get(), &Item::captureAllRequested, this, [this] { _commands->onCaptureAll(); });
    connect(_statusItem.get(), &Item::disconnectRequested, this, [this] { _association->onDisassociate(); });
    connect(_statusItem.get(), &Item::turnOnOffRequested, this, [this] { _association->onTurnOnOff(); });
}

void AppDelegate::watchSleep() {
    _sleepWatch = std::make_unique<SleepWatch>();
    _sleepGuard = std::make_unique<SleepGuard>(*_sleepWatch, *_session, *_timers);
}

void AppDelegate::chooseLinkLayerHeader() {
    chooseDataLink();
    _statusItem->setCapturesEnabled(true);
    _view->updateStatusItem();
    _view->updateStatusMenu();
}

void AppDelegate::chooseDataLink() {
    CWInterface& airport = _options.wifi->interface();
    _offDuringChoice = !airport.powerOn();
    const auto offered = offeredDataLinks(airport);
    _session->setDataLinkType(vantrel::chooseDataLink(offered, _settings.integerForKey(keys::LinkLayerHeader)));
}

// An adapter that comes, or is switched on, after the launch could not be asked then.
void AppDelegate::adapterChanged() {
    const bool isOn = _options.wifi->interface().powerOn();
    if (_offDuringChoice && isOn && _session->state() == CaptureSession::State::Idle) {
        chooseDataLink();
    }
    _view->updateStatusItem();
    _view->updateStatusMenu();
}

void AppDelegate::dropVanishedApplication() { removeVanishedApplication(_settings); }

void AppDelegate::applicationWillTerminate() {
    _settings.synchronize();
    if (!_session) {
        return;
    }
    _dialogs.stopAsking(); // at log-out nobody is there to answer, and the session would wait
    _session->userDidStop();
    // The capture ends through the event loop, which has ended: run one until the file is finished.
    QEventLoop ending;
    const auto poll = _timers->every(std::chrono::milliseconds(10), [this, &ending] {
        if (_session->state() == CaptureSession::State::Idle) {
            ending.quit();
        }
    });
    ending.exec();
}

bool AppDelegate::applicationShouldHandleReopen(bool /*hasVisibleWindows*/) {
    if (_statusItem) {
        _statusItem->popUpMenu();
    }
    return true;
}

void AppDelegate::bssidDidChangeForWiFiInterfaceWithName(const QString& /*name*/) { updateUI(); }
void AppDelegate::powerStateDidChangeForWiFiInterfaceWithName(const QString& /*name*/) { updateUI(); }
void AppDelegate::modeDidChangeForWiFiInterfaceWithName(const QString& /*name*/) { updateUI(); }
void AppDelegate::ssidDidChangeForWiFiInterfaceWithName(const QString& /*name*/) { updateUI(); }

void AppDelegate::updateUI() {
    _mainQueue.post([this] {
        if (_session) {
            adapterChanged();
        }
    });
}

} // namespace vantrel
