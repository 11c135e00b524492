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

AppDelegate::AppDelegate(Options options) : _options(std::move(options)), _hopper(_flags) {}

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
    connect(_statusItem.get(), &ui::StatusItem::captureRequested, this, [this] { onCapture(); });
    connect(_statusItem.get(), &ui::StatusItem::stopRequested, this, [this] { _session->userDidStop(); });
    connect(_statusItem.get(), &ui::StatusItem::quitRequested, this, &AppDelegate::quitRequested);
}

void AppDelegate::takeDefaultInterface() {
    _session = std::make_unique<CaptureSession>(CaptureSession::Surroundings{.settings = _settings,
                                                                             .airport = _options.wifi->interface(),
                                                                             .flags = _flags,
                                                                             .restore = _restore,
                                                                             .mainQueue = _mainQueue,
                                                                             .timers = *_timers,
                                                                             .packetQueue = *_packetQueue,
                                                                             .view = *_view,
                                                                             .dialogs = _dialogs,
                                                                             .hopper = _hopper,
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

void AppDelegate::chooseLinkLayerHeader() {
    const auto offered = offeredDataLinks(_options.wifi->interface());
    _session->setDataLinkType(chooseDataLink(offered, _settings.integerForKey(keys::LinkLayerHeader)));
    _statusItem->setCapturesEnabled(true);
    _view->updateStatusItem();
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

void AppDelegate::onCapture() {
    if (_session->prepareCapture()) {
        _session->startCapture(CaptureMode::SingleChannel);
    }
}

void AppDelegate::bssidDidChangeForWiFiInterfaceWithName(const QString& /*name*/) { updateUI(); }
void AppDelegate::powerStateDidChangeForWiFiInterfaceWithName(const QString& /*name*/) { updateUI(); }
void AppDelegate::modeDidChangeForWiFiInterfaceWithName(const QString& /*name*/) { updateUI(); }
void AppDelegate::ssidDidChangeForWiFiInterfaceWithName(const QString& /*name*/) { updateUI(); }

void AppDelegate::updateUI() {
    _mainQueue.post([this] {
        if (_view) {
            _view->updateStatusItem();
        }
    });
}

} // namespace vantrel
