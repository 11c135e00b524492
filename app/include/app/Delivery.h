// Everything that becomes of finished captures, put together: where they are saved, the uploads and their outcomes, the
// notifications and what a click on them opens.
//
// Main thread, save what finalizer() is called for.
#pragma once

#include "app/DeliveryWindows.h"
#include "app/ReconnectWaiter.h"
#include "app/SessionAdapters.h"
#include "app/TrayCommands.h"
#include "delivery/CaptureCompletion.h"
#include "delivery/DesktopNotifications.h"
#include "delivery/FileOpener.h"
#include "delivery/NotificationActivation.h"
#include "delivery/UploadCommands.h"
#include "delivery/UploadOutcome.h"

#include <chrono>
#include <functional>
#include <memory>

namespace vantrel {

class Delivery final : public CaptureUploads {
public:
    // The references are borrowed and outlive this object.
    struct Surroundings {
        SettingsStore& settings;
        MainQueue& mainQueue; // closed before this object goes
        AlertDialogs& dialogs;
        std::function<void(int percent)> setUploadProgress;
        std::function<UploadOutcome::Totals()> lastCaptureTotals;
        // Any thread, which it blocks, by sleepUntilEnd(), until the adapter is back in its network.
        std::function<void()> waitToReconnect;
    };

    explicit Delivery(Surroundings surroundings);
    ~Delivery() override = default;
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

    // Borrowed.
    [[nodiscard]] CaptureFinalizer& finalizer() { return _finalizer; }
    [[nodiscard]] FileOpener& opener() { return *_opener; }

    // Clicks on notifications lead somewhere from here on.
    void takeNotifications() { _notifications.setDelegate(&_activation); }
    // Tells once of captures that an earlier run left behind.
    void offerLeftovers();

    void uploadToCloudShark() override { _commands.onUploadToCloudShark(); }
    void uploadToMojoPackets() override { _commands.onUploadToMojoPackets(); }

    // Any thread: sleeps, but not longer than this object lives.
    void sleepUntilEnd(std::chrono::milliseconds time) { _reconnecting.sleep(time); }

private:
    void upload(UploadService service, const QString& path, bool reconnecting);
    void startUpload(UploadService service, const QString& path);

    const Surroundings _around;
    DeliveryWindows _windows;
    std::unique_ptr<FileOpener> _opener;
    NotificationActivation _activation;
    DesktopNotifications _notifications;
    UploadOutcome _uploads;
    UploadCommands _commands;
    CaptureCompletion _completion;
    DeliveringFinalizer _finalizer;
    ReconnectWaiter _reconnecting; // first to go: its threads use what stands above
};

} // namespace vantrel
