// The composition root: owns one object per concern, in dependency order, and connects them.
//
// Main thread. Made after the QApplication; one per program. A new feature adds a member and its connections here, and
// no decisions of its own.
#pragma once

#include "app/Delivery.h"
#include "app/LinkLayerMenu.h"
#include "app/ProgressDisplay.h"
#include "app/SessionAdapters.h"
#include "app/SleepGuard.h"
#include "app/TrayCommands.h"
#include "app/TrayDisplay.h"
#include "base/MainQueue.h"
#include "engine/CaptureSession.h"
#include "engine/PacketQueue.h"
#include "engine/Timers.h"
#include "services/LoginItems.h"
#include "services/SleepWatch.h"
#include "settings/SettingsStore.h"
#include "ui/MenuWindow.h"
#include "ui/StatusItem.h"
#include "ui/StatusMenu.h"
#include "wifi/AdapterRestore.h"
#include "wifi/Association.h"
#include "wifi/CWWiFiClient.h"
#include "wifi/CaptureCommands.h"
#include "wifi/CaptureFlags.h"
#include "wifi/HopLoop.h"

#include <QObject>
#include <functional>
#include <memory>
#include <span>

namespace vantrel {

class PreferencesWindows;
class AppDelegate final : public QObject, private CWEventDelegate {
    Q_OBJECT

public:
    struct Options {
        std::unique_ptr<CWWiFiClient> wifi;
        QString version; // the short version, such as "2.1b3"
        // Called once at start-up. Nothing is reported to anybody, so it stays empty in the program.
        std::function<void()> sendTrackingReport;
        ThreadStarter startCaptureThread = startOrdinaryThread; // of the threads that run libpcap
    };

    // One named step of the start-up.
    struct Step {
        const char* name;
        void (AppDelegate::*run)();
    };

    explicit AppDelegate(Options options);
    ~AppDelegate() override;

    // The one controller, from the first step of the start-up until it is destroyed.
    [[nodiscard]] static AppDelegate* sharedInstance();

    // The two stages of the start-up, each run once, in this order, before the event loop.
    void applicationWillFinishLaunching();
    void applicationDidFinishLaunching();
    // At quit, after the event loop: flushes the settings, stops a running capture and waits for its finished file.
    void applicationWillTerminate();
    // A second start of the program asks for this one: answers whether it may come forward, which it always may.
    [[nodiscard]] bool applicationShouldHandleReopen(bool hasVisibleWindows);

    [[nodiscard]] static std::span<const Step> firstStage();
    [[nodiscard]] static std::span<const Step> secondStage();

    [[nodiscard]] CaptureSession& session() { return *_session; }
    [[nodiscard]] SettingsStore& settings() { return _settings; }
    [[nodiscard]] ui::StatusMenu* statusMenu() { return _statusMenu.get(); }
    [[nodiscard]] ui::StatusItem* statusItem() { return _statusItem.get(); }
    [[nodiscard]] ProgressDisplay* progress() { return _progress.get(); }
    [[nodiscard]] SleepWatch& sleepWatch() { return *_sleepWatch; }

Q_SIGNALS:
    // The user wants to leave, from the menu or the beta notice.
    void quitRequested();

private:
    // First stage.
    void rememberSharedInstance();
    void makePacketQueue();
    void takeDesktopFolder();
    void findPcapApplication();
    void registerDefaultValues();
    void repairAfterCaptureActions();
    void observeLoginItems();
    void monitorWiFiEvents();
    void showBetaNotice();
    void sendTrackingReport();
    // Second stage.
    void createStatusItem();
    void takeDefaultInterface();
    void populateStatusMenu();
    void takeNotifications();
    void dropVanishedApplication();
    void offerLeftovers();

    void run(std::span<const Step> stage);
    void makeDelivery();
    void makeHopping();
    void makeSession();
    void makeCommands();
    void watchSleep();
    void adapterChanged();

    void bssidDidChangeForWiFiInterfaceWithName(const QString& name) override;
    void powerStateDidChangeForWiFiInterfaceWithName(const QString& name) override;
    void modeDidChangeForWiFiInterfaceWithName(const QString& name) override;
    void ssidDidChangeForWiFiInterfaceWithName(const QString& name) override;
    void updateUI();

    Options _options;
    SettingsStore _settings;
    MainQueue _mainQueue;
    std::unique_ptr<Timers> _timers = makeEventLoopTimers();
    CaptureFlags _flags;
    AdapterRestore _restore;
    QString _desktopFolder;
    QString _pcapApplication; // path of its .desktop file; empty when none opens pcap files
    std::unique_ptr<LoginItems> _loginItems;
    std::unique_ptr<PacketQueue> _packetQueue;
    std::unique_ptr<ui::StatusMenu> _statusMenu;
    std::unique_ptr<ui::StatusItem> _statusItem;
    std::unique_ptr<ui::MenuWindow> _menuWindow;
    std::unique_ptr<TrayDisplay> _tray;
    std::unique_ptr<ProgressDisplay> _progress;
    std::unique_ptr<TrayCaptureView> _view;
    AlertDialogs _dialogs;
    std::unique_ptr<HopLoop> _hopLoop;
    std::unique_ptr<PlannedHopper> _hopper;
    std::unique_ptr<Delivery> _delivery;
    std::unique_ptr<CaptureSession> _session;
    std::unique_ptr<SessionStarter> _starter;
    std::unique_ptr<Association> _association;
    std::unique_ptr<CaptureCommands> _commands;
    std::unique_ptr<LinkLayerMenu> _linkLayer;
    std::unique_ptr<PreferencesWindows> _preferences;
    std::unique_ptr<TrayCommands> _trayCommands;
    std::unique_ptr<SleepWatch> _sleepWatch;
    std::unique_ptr<SleepGuard> _sleepGuard;
};

} // namespace vantrel
