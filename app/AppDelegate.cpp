#include "app/AppDelegate.h"

#include "app/PreferencesWindows.h"
#include "services/PcapApplications.h"
#include "services/ProgramCommand.h"
#include "services/VersionInfo.h"
#include "settings/Defaults.h"
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
    _delivery.reset(); // an upload may wait for the adapter, which the association below knows
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
    static constexpr std::array<Step, 6> steps{{
        {"createStatusItem", &AppDelegate::createStatusItem},
        {"takeDefaultInterface", &AppDelegate::takeDefaultInterface},
        {"populateStatusMenu", &AppDelegate::populateStatusMenu},
        {"takeNotifications", &AppDelegate::takeNotifications},
        {"dropVanishedApplication", &AppDelegate::dropVanishedApplication},
        {"offerLeftovers", &AppDelegate::offerLeftovers},
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

void AppDelegate::observeLoginItems() { _loginItems = std::make_unique<LoginItems>(commandOfProgram()); }

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
    _statusMenu = std::make_unique<ui::StatusMenu>();
    _statusItem = std::make_unique<ui::StatusItem>(*_statusMenu->menu());
    _menuWindow = std::make_unique<ui::MenuWindow>(*_statusItem, *_statusMenu);
    _tray = std::make_unique<TrayDisplay>(TrayDisplay::Surroundings{
        .item = *_statusItem, .menu = *_statusMenu, .settings = _settings, .wifi = *_options.wifi});
    _progress = std::make_unique<ProgressDisplay>(ProgressDisplay::Surroundings{
        .settings = _settings,
        .airport = _options.wifi->interface(),
        .timers = *_timers,
        .read =
            [this] {
                return ProgressDisplay::Reading{_session->progress(), _session->isMultipleFileCapture()};
            },
        .stop = [this] { _session->userDidStop(); },
        .cancel = [this] { _session->userDidCancel(); }});
    _view = std::make_unique<TrayCaptureView>(*_tray, *_progress);
}

void AppDelegate::takeDefaultInterface() {
    makeDelivery();
    makeHopping();
    makeSession();
    makeCommands();
    watchSleep();
}

void AppDelegate::makeDelivery() {
    _delivery = std::make_unique<Delivery>(
        Delivery::Surroundings{.settings = _settings,
                               .mainQueue = _mainQueue,
                               .dialogs = _dialogs,
                               .setUploadProgress = [this](int percent) { _tray->setUploadProgress(percent); },
                               .lastCaptureTotals =
                                   [this] {
                                       return UploadOutcome::Totals{_session->totalFrames(), _session->totalBytes()};
                                   },
                               .waitToReconnect = [this] { _association->waitToReconnect(); }});
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
    _session = std::make_unique<CaptureSession>(
        CaptureSession::Surroundings{.settings = _settings,
                                     .airport = _options.wifi->interface(),
                                     .flags = _flags,
                                     .restore = _restore,
                                     .mainQueue = _mainQueue,
                                     .timers = *_timers,
                                     .packetQueue = *_packetQueue,
                                     .view = *_view,
                                     .dialogs = _dialogs,
                                     .hopper = *_hopper,
                                     .finalizer = _delivery->finalizer(),
                                     .desktopFolder = _desktopFolder,
                                     .startCaptureThread = _options.startCaptureThread});
}

void AppDelegate::makeCommands() {
    CWInterface& airport = _options.wifi->interface();
    _starter = std::make_unique<SessionStarter>(*_session, [this] { _linkLayer->captureWillStart(); });
    _association = std::make_unique<Association>(
        Association::Surroundings{.settings = _settings, .airport = airport, .restore = _restore, .dialogs = _dialogs},
        [this](std::chrono::milliseconds time) { _delivery->sleepUntilEnd(time); });
    _commands = std::make_unique<CaptureCommands>(CaptureCommands::Surroundings{.settings = _settings,
                                                                                .airport = airport,
                                                                                .flags = _flags,
                                                                                .restore = _restore,
                                                                                .association = *_association,
                                                                                .dialogs = _dialogs,
                                                                                .starter = *_starter,
                                                                                .view = *_view});
    _linkLayer =
        std::make_unique<LinkLayerMenu>(LinkLayerMenu::Surroundings{.menu = *_statusMenu,
                                                                    .settings = _settings,
                                                                    .airport = airport,
                                                                    .session = *_session,
                                                                    .startCaptureThread = _options.startCaptureThread});
    _preferences =
        std::make_unique<PreferencesWindows>(PreferencesWindows::Surroundings{.settings = _settings,
                                                                              .airport = airport,
                                                                              .display = *_tray,
                                                                              .opener = _delivery->opener(),
                                                                              .desktopFolder = _desktopFolder});
    _trayCommands = std::make_unique<TrayCommands>(TrayCommands::Surroundings{.menu = *_statusMenu,
                                                                              .display = *_tray,
                                                                              .captures = *_commands,
                                                                              .association = *_association,
                                                                              .linkLayer = *_linkLayer,
                                                                              .loginItems = *_loginItems,
                                                                              .dialogs = _dialogs,
                                                                              .uploads = *_delivery,
                                                                              .customChannels = *_preferences,
                                                                              .preferences = *_preferences,
                                                                              .version = _options.version});
    connect(_trayCommands.get(), &TrayCommands::quitRequested, this, &AppDelegate::quitRequested);
}

void AppDelegate::watchSleep() {
    _sleepWatch = std::make_unique<SleepWatch>();
    _sleepGuard = std::make_unique<SleepGuard>(*_session, *_timers, [this] { _sleepWatch->readyToSleep(); });
    connect(_sleepWatch.get(), &SleepWatch::aboutToSleep, this, [this] { _sleepGuard->aboutToSleep(); });
    connect(_sleepWatch.get(), &SleepWatch::wokeUp, this, [this] { _sleepGuard->wokeUp(); });
}

void AppDelegate::populateStatusMenu() {
    _tray->populateSubmenus();
    _linkLayer->populateLinkLayerHeaderSubmenu();
    _tray->updateStatusItem();
    _tray->updateStatusMenu();
}

void AppDelegate::adapterChanged() {
    _linkLayer->adapterChanged();
    _tray->updateStatusItem();
    _tray->updateStatusMenu();
}

void AppDelegate::takeNotifications() { _delivery->takeNotifications(); }

void AppDelegate::offerLeftovers() { _delivery->offerLeftovers(); }

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
